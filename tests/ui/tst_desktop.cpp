#include "closesystem.h"
#include "dlgshutdown.h"
#include "files.h"
#include "jobnotifications.h"
#include "literals.h"
#include "logfile.h"
#include "modaldriver.h"
#include "platform.h"
#include "surroundings.h"
#include "testmain.h"
#include "wakefulness.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <QDBusVirtualObject>

#include <memory>
#include <utility>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

// Stands in for the power service, the service of notifications, and the portal that shows the
// chooser of a program.
class Services final : public QDBusVirtualObject
{
public:
    // Returns what was asked since the last time; CanPowerOff is answered like this from now on.
    QString expect(const QString &answer)
    {
        const QMutexLocker lock(&m_mutex);
        m_answer = answer;
        return std::exchange(m_asked, QString());
    }
    // What Inhibit hands out, once. Takes it over.
    void giveDelay(int file)
    {
        const QMutexLocker lock(&m_mutex);
        m_delay.giveFileDescriptor(file);
    }
    QString introspect(const QString &) const override { return QString(); }
    bool handleMessage(const QDBusMessage &call, const QDBusConnection &bus) override
    {
        // Who waits for the answer without letting his windows live waits in vain.
        QMetaObject::invokeMethod(
            qApp, [] {}, Qt::BlockingQueuedConnection);
        const QMutexLocker lock(&m_mutex);
        if (call.member() == "CanPowerOff"_q)
            return bus.send(call.createReply(m_answer));
        if (call.member() == "GetCapabilities"_q)
            return bus.send(call.createReply(QStringList{m_answer}));
        m_asked = call.member() + call.arguments().value(0).toString();
        if (call.member() == "Notify"_q) {
            m_asked = call.arguments().value(4).toString();
            return bus.send(call.createReply(17U));
        }
        if (call.member() != "Inhibit"_q)
            return bus.send(call.createReply());
        m_asked += call.arguments().value(3).toString();
        const auto delay = std::exchange(m_delay, QDBusUnixFileDescriptor());
        return bus.send(call.createReply(QVariant::fromValue(delay)));
    }

private:
    QMutex m_mutex;
    QString m_answer;
    QString m_asked;
    QDBusUnixFileDescriptor m_delay;
};

// The desktop's services: opening files, notifications, sleep and shut-down.
class TestDesktop final : public SandboxTest
{
    Q_OBJECT

public:
    using SandboxTest::SandboxTest;

private slots:
    void initTestCase()
    {
        m_daemon.start("dbus-daemon"_q, {"--session"_q, "--nofork"_q, "--print-address"_q,
                                         "--address=unix:dir="_q + m_sandbox.path()});
        QVERIFY(m_daemon.waitForReadyRead());
        const QByteArray address = m_daemon.readLine().trimmed();
        m_bus = QDBusConnection::connectToBus(QString::fromLatin1(address), "stand-ins"_q);
        QVERIFY(m_bus.registerVirtualObject("/"_q, &m_services, QDBusConnection::SubPath));
        // Only now: an empty address would mean the machine's own bus.
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", address);
        qputenv("DBUS_SESSION_BUS_ADDRESS", address);
        m_services.moveToThread(&m_thread);
        m_thread.start();
    }

    void cleanupTestCase()
    {
        m_thread.quit();
        m_thread.wait();
        m_daemon.kill();
        m_daemon.waitForFinished();
    }

    void closesSystem_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<QString>("answer"); // empty: no power service
        QTest::addColumn<int>("steps");      // of the shut-down that are logged
        QTest::addColumn<QString>("asked");
        QTest::newRow("sleep") << 1 << "yes" << 0 << "Suspendfalse";
        QTest::newRow("hibernation") << 2 << "yes" << 0 << "Hibernatefalse";
        QTest::newRow("shut-down") << 3 << "yes" << 3 << "PowerOfffalse";
        QTest::newRow("only with a password") << 3 << "challenge" << 1 << "";
        QTest::newRow("no service") << 3 << "" << 0 << "";
    }
    void closesSystem()
    {
        QFETCH(int, mode);
        QFETCH(QString, answer);
        QFETCH(int, steps);
        QVERIFY(answer.isEmpty() || m_bus.registerService("org.freedesktop.login1"_q));
        m_services.expect(answer);
        int told = -1;
        platform::askForShutDown(this, [&told](platform::ShutDown is) { told = int(is); });
        QTRY_COMPARE(told, (QStringList{"yes"_q, "challenge"_q, QString()}).indexOf(answer));
        m_sandbox.loadOptions(true);
        QWidget window;
        window.show();
        QVERIFY(CloseSystem(mode, &window));
        QTEST(m_services.expect(QString()), "asked");
        QCOMPARE(readFile(LogFile::instance()->fileName()).count('\n'), steps + 2);
        QCOMPARE(window.isVisible(), steps < 2);
        m_bus.unregisterService("org.freedesktop.login1"_q);
    }

    void machineWaitsUntilAllIsSaved()
    {
        const int handedOut = handOutInhibitor();
        QString asked;
        int told = 0;
        auto application = std::make_unique<QObject>();
        platform::watchSession(
            application.get(), [] {}, [&told] { ++told; });
        QTRY_COMPARE(asked += m_services.expect(QString()), "Inhibitshutdowndelay"_q);
        QDBusMessage news =
            QDBusMessage::createSignal("/org/freedesktop/login1"_q,
                                       "org.freedesktop.login1.Manager"_q, "PrepareForShutdown"_q);
        news << true;
        QVERIFY(m_bus.send(news));
        QTRY_COMPARE(told, 1);
        QVERIFY(!isGivenBack(handedOut));
        application.reset();
        QTRY_VERIFY(isGivenBack(handedOut));
        close(handedOut);
        m_bus.unregisterService("org.freedesktop.login1"_q);
    }

    void staysAwakeWhileAJobRuns()
    {
        const int handedOut = handOutInhibitor();
        m_sandbox.loadOptions();
        DownloaderManager manager(testSurroundings());
        const Wakefulness awake(manager);
        HttpJob *job = addJob(&manager, "video"_q, JobState::Stopped);
        for (const auto state : {JobState::Stopped, JobState::Start}) {
            QCOMPARE(m_services.expect(QString()), QString());
            job->record.video_state = state;
            emit manager.sigJobsChanged();
            bool answered = false; // and all that was asked before
            platform::askForShutDown(this, [&](platform::ShutDown) { answered = true; });
            QTRY_VERIFY(answered);
        }
        QCOMPARE(m_services.expect(QString()), "Inhibitidleblock"_q);
        QVERIFY(!isGivenBack(handedOut));
        job->record.video_state = JobState::Errored;
        emit manager.sigJobsChanged();
        QTRY_VERIFY(isGivenBack(handedOut));
        close(handedOut);
        m_bus.unregisterService("org.freedesktop.login1"_q);
    }

    void notificationsAreShownAndClicked()
    {
        QByteArrayList clicks;
        platform::Notifications notifications(
            [&clicks](const QByteArray &token) { clicks += token; });
        int unseen = 0;
        const auto show = [&] {
            notifications.show({"Title"_q, "<i>me & you"_q}, [&unseen] { ++unseen; });
        };
        show();
        QTRY_COMPARE(unseen, 1);
        QVERIFY(m_bus.registerService("org.freedesktop.Notifications"_q));
        const QMap<QString, QString> texts{{"body"_q, "<i>me & you"_q},
                                           {"body-markup"_q, "&lt;i&gt;me &amp; you"_q}};
        for (auto text = texts.begin(); text != texts.end(); ++text) {
            m_services.expect(text.key());
            show();
            QString asked;
            QTRY_COMPARE(asked += m_services.expect(text.key()), text.value());
        }
        // Everybody hears of the clicks on everybody's, and a new service gives out the same
        // numbers.
        for (const uint id : {18U, 17U, 17U}) {
            for (const char *name : {"ActivationToken", "ActionInvoked"}) {
                QDBusMessage news = QDBusMessage::createSignal("/org/freedesktop/Notifications"_q,
                                                               "org.freedesktop.Notifications"_q,
                                                               QLatin1String(name));
                news << id << "of %1"_q.arg(id);
                QVERIFY(m_bus.send(news));
            }
            if (id == 17)
                m_bus.unregisterService("org.freedesktop.Notifications"_q);
        }
        show(); // heard of after all that
        QTRY_COMPARE(unseen, 2);
        QCOMPARE(clicks, QByteArrayList{"of 17"});
    }

    void endOfAJobIsAnnouncedToWhoWantsIt()
    {
        DownloaderManager manager(testSurroundings());
        const int id = addJob(&manager, "50% %1"_q, JobState::Errored)->record.id;
        QStringList balloons;
        JobNotifications notifications(manager, *Options::instance(), nullptr);
        connect(
            &notifications, &JobNotifications::balloon, this,
            [&](const QString &title, const QString &text) { balloons += title + "|"_q + text; });
        for (bool wanted : {true, false}) {
            Options::instance()->notifyWhenFinished = wanted;
            notifications.jobEnded(id);
        }
        QCOMPARE(balloons, QStringList{"Download Failed|Failed to download \"50% %1\"."_q});
        // What must be known is said whatever the desktop has to say it with.
        connect(&notifications, &JobNotifications::balloon, &notifications,
                &JobNotifications::balloonUnseen);
        const ModalDriver person("QMessageBox");
        notifications.savingFails("Task.dat"_q);
        Options::instance()->notifyWhenFinished = true;
        notifications.jobEnded(id);
        QTRY_COMPARE(person.seen(), 1);
    }

    void countdownShutsDownOnlyWhenAskedFor()
    {
        m_sandbox.loadOptions(true);
        DlgShutDown countdown(nullptr, 2);
        QCOMPARE(countdown.exec(), int(QDialog::Accepted)); // by itself
        DownloaderManager manager(testSurroundings());
        JobNotifications notifications(manager, *Options::instance(), nullptr);
        const int before = m_sandbox.logLines().count("CloseSystem:Enter"_q);
        const auto asked = [&] {
            return m_sandbox.logLines().count("CloseSystem:Enter"_q) > before;
        };
        int countdowns = 0;
        int savedBefore = 0;
        connect(&notifications, &JobNotifications::shuttingDown, this,
                [&] { savedBefore += asked() ? 0 : 1; });
        const auto shutDown = [&](bool wanted, const QString &button) {
            const ModalDriver person("DlgShutDown", ModalDriver::press(button));
            Options::instance()->shutDownWhenAllFinished = wanted;
            notifications.allEnded();
            countdowns += person.seen();
            return asked();
        };
        QVERIFY(!shutDown(false, "btnShutdown"_q));
        QVERIFY(!shutDown(true, "btnCancel"_q));
        HttpJob *job = addJob(&manager, "unfinished"_q, JobState::Stopped);
        QVERIFY(!shutDown(true, "btnShutdown"_q));
        job->record.video_state = JobState::Errored;
        QVERIFY(shutDown(true, "btnShutdown"_q));
        QCOMPARE(savedBefore, 1);
        QCOMPARE(countdowns, 2);
    }

    void opensFiles()
    {
        const QByteArray video = m_sandbox.path("a video.mp4"_q).toUtf8();
        const QString opened = m_sandbox.path("opened"_q);
        QVERIFY(writeFile(QString::fromUtf8(video), "content"));
        qputenv("PATH", m_sandbox.path("tools:"_q).toUtf8() + qgetenv("PATH"));
        // The program itself may open more files than its children can cope with.
        rlimit limit;
        QCOMPARE(getrlimit(RLIMIT_NOFILE, &limit), 0);
        limit.rlim_cur = 1000;
        QCOMPARE(setrlimit(RLIMIT_NOFILE, &limit), 0);
        platform::allowManyOpenFiles();
        tool("xdg-open"_q, "echo \"$1\" `ulimit -Sn` >" + opened.toUtf8());
        tool("xdg-mime"_q, "test `ulimit -Sn` = 1000 || exit 0\necho player.desktop");
        QVERIFY(openFile(QString::fromUtf8(video)));
        QTRY_COMPARE(readFile(opened), video + " 1000\n");
        QVERIFY(getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur > 1000);
        // Without a program for the type the person chooses one.
        tool("xdg-mime"_q, "true");
        QVERIFY(m_bus.registerService("org.freedesktop.portal.Desktop"_q));
        QVERIFY(openFile(QString::fromUtf8(video)));
        QCOMPARE(m_services.expect(QString()), "OpenFile"_q);
        // Not every file manager shows a file among its neighbours.
        platform::showInFolder(QString::fromUtf8(video));
        QTRY_COMPARE(readFile(opened), m_sandbox.path().toUtf8() + " 1000\n");
        QVERIFY(m_bus.registerService("org.freedesktop.FileManager1"_q));
        platform::showInFolder(QString::fromUtf8(video));
        QString asked;
        QTRY_COMPARE(asked += m_services.expect(QString()),
                     "ShowItemsfile://"_q + m_sandbox.path("a%20video.mp4"_q));
    }

private:
    static HttpJob *addJob(DownloaderManager *manager, const QString &title, JobState state)
    {
        auto job = manager->newJob();
        job->record.id = 1;
        job->record.title = title;
        job->record.video_state = state;
        manager->addLoadedJob(std::move(job));
        return manager->jobs().back().get();
    }
    // The power service is there and gives one away. The result is closed by whoever wants it.
    int handOutInhibitor()
    {
        int ends[2] = {-1, -1};
        if (pipe2(ends, O_NONBLOCK | O_CLOEXEC) != 0 ||
            !m_bus.registerService("org.freedesktop.login1"_q))
            qFatal("no inhibitor");
        m_services.expect(QString());
        m_services.giveDelay(ends[1]);
        return ends[0];
    }
    static bool isGivenBack(int inhibitor)
    {
        char byte = 0;
        return read(inhibitor, &byte, 1) == 0;
    }
    void tool(const QString &name, const QByteArray &line)
    {
        QFile file(m_sandbox.path("tools/"_q + name));
        QVERIFY(writeFile(file.fileName(), "#!/bin/sh\n" + line + '\n'));
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    QProcess m_daemon;
    QThread m_thread;
    Services m_services;
    QDBusConnection m_bus{QString()};
};

REELKEEPER_TEST_MAIN(TestDesktop)
#include "tst_desktop.moc"
