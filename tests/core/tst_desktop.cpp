#include "closesystem.h"
#include "files.h"
#include "logfile.h"
#include "options.h"
#include "testmain.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusContext>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QMutex>
#include <QProcess>
#include <QThread>
#include <QWidget>

// What the desktop's services were asked, in order. Filled in the thread of the stand-ins.
class Calls final
{
public:
    void add(const QString &call)
    {
        QMutexLocker lock(&m_mutex);
        m_calls << call;
    }
    QStringList take()
    {
        QMutexLocker lock(&m_mutex);
        return std::exchange(m_calls, {});
    }

private:
    QMutex m_mutex;
    QStringList m_calls;
};

// Stands in for the power service: nothing here can reach the machine's own.
class PowerService final : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")

public:
    Calls calls;
    QString answer;
    bool refuses = false;

public slots:
    QString CanPowerOff() { return answer; }
    void PowerOff(bool interactive) { note(QStringLiteral("PowerOff"), interactive); }
    void Suspend(bool interactive) { note(QStringLiteral("Suspend"), interactive); }
    void Hibernate(bool interactive) { note(QStringLiteral("Hibernate"), interactive); }

private:
    void note(const QString &call, bool interactive)
    {
        calls.add(interactive ? call + QStringLiteral(" asking") : call);
        if (refuses)
            sendErrorReply(QDBusError::AccessDenied, QStringLiteral("no"));
    }
};

// Stands in for the portal that shows the chooser of a program.
class Portal final : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.OpenURI")

public:
    Calls calls;

public slots:
    QDBusObjectPath OpenFile(const QString &, const QDBusUnixFileDescriptor &descriptor,
                             const QVariantMap &options)
    {
        QFile file;
        if (options.value(QStringLiteral("ask")).toBool() &&
            file.open(descriptor.fileDescriptor(), QIODevice::ReadOnly))
            calls.add(QString::fromUtf8(file.readAll()));
        return QDBusObjectPath(QStringLiteral("/request"));
    }
};

// The desktop's services: opening files, sleep and shut-down.
class TestDesktop final : public QObject
{
    Q_OBJECT

public:
    explicit TestDesktop(Sandbox &sandbox)
        : m_sandbox(sandbox)
    {
    }

private slots:
    void initTestCase()
    {
        const QString configuration = m_sandbox.path(QStringLiteral("bus.conf"));
        QVERIFY(writeFile(configuration,
                          "<busconfig><listen>unix:path=" + m_sandbox.path().toUtf8() +
                              "/bus</listen><auth>EXTERNAL</auth><policy context='default'>"
                              "<allow send_destination='*'/><allow receive_sender='*'/>"
                              "<allow own='*'/><allow user='*'/></policy></busconfig>"));
        m_bus.start(QStringLiteral("dbus-daemon"),
                    {QStringLiteral("--nofork"), QStringLiteral("--print-address"),
                     QStringLiteral("--config-file=") + configuration});
        QVERIFY(m_bus.waitForStarted());
        QVERIFY(m_bus.waitForReadyRead());
        m_address = m_bus.readLine().trimmed();
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_address);
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_address);

        m_services = std::make_unique<QDBusConnection>(QDBusConnection::connectToBus(
            QString::fromLatin1(m_address), QStringLiteral("stand-ins")));
        QVERIFY(m_services->registerObject(QStringLiteral("/org/freedesktop/login1"), &m_power,
                                           QDBusConnection::ExportAllSlots));
        QVERIFY(m_services->registerObject(QStringLiteral("/org/freedesktop/portal/desktop"),
                                           &m_portal, QDBusConnection::ExportAllSlots));
        QVERIFY(m_services->registerService(markerName()));
        m_power.moveToThread(&m_thread);
        m_portal.moveToThread(&m_thread);
        m_thread.start();
    }

    void cleanupTestCase()
    {
        m_services.reset();
        QDBusConnection::disconnectFromBus(QStringLiteral("stand-ins"));
        m_thread.quit();
        m_thread.wait();
        m_bus.terminate();
        m_bus.waitForFinished();
    }

    void closesSystem_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<QString>("answer"); // empty: no power service
        QTest::addColumn<bool>("refuses");
        QTest::addColumn<QString>("log");
        QTest::addColumn<QString>("asked");
        const auto row = [](const char *name, int mode, const char *answer, bool refuses,
                            const char *log, const char *asked) {
            QTest::newRow(name) << mode << QString::fromLatin1(answer) << refuses
                                << QString::fromLatin1(log) << QString::fromLatin1(asked);
        };
        const char *right = "OpenProcessToken() == true";
        const char *done = "OpenProcessToken() == true|AdjustTokenPrivileges() == ERROR_SUCCESS|"
                           "ExitWindowsEx() == true";
        const char *failed = "OpenProcessToken() == true|AdjustTokenPrivileges() == ERROR_SUCCESS|"
                             "ExitWindowsEx() == false";
        row("sleep", 1, "yes", false, "", "Suspend");
        row("hibernation refused", 2, "yes", true, "", "Hibernate");
        row("sleep without service", 1, "", false, "", "");
        row("shut-down", 3, "yes", false, done, "PowerOff");
        row("shut-down refused", 0, "yes", true, failed, "PowerOff");
        row("no right", 3, "no", false, right, "");
        row("only with a password", 3, "challenge", false, right, "");
        row("no service", 3, "", false, "", "");
    }
    void closesSystem()
    {
        QFETCH(int, mode);
        QFETCH(QString, answer);
        QFETCH(bool, refuses);
        QFETCH(QString, log);
        QCOMPARE(qgetenv("DBUS_SYSTEM_BUS_ADDRESS"), m_address);
        QVERIFY(QDBusConnection::systemBus().interface()->isServiceRegistered(markerName()));

        m_power.answer = answer;
        m_power.refuses = refuses;
        const QString service = QStringLiteral("org.freedesktop.login1");
        QVERIFY(answer.isEmpty() || m_services->registerService(service));
        m_sandbox.loadOptions(true);
        LogFile::destroyInstance();
        QWidget window;
        window.show();
        QVERIFY(CloseSystem(mode, &window));

        QString expected = QStringLiteral("CloseSystem:Enter\r\n");
        for (const QString &line : log.split(QLatin1Char('|'), Qt::SkipEmptyParts))
            expected += QStringLiteral("CloseSystem:%1\r\n").arg(line);
        expected += QStringLiteral("CloseSystem:Leave(true)\r\n");
        QFile *file = LogFile::instance();
        QCOMPARE(readFile(file->fileName()), expected.toUtf8());
        QTEST(m_power.calls.take().join(QLatin1Char(',')), "asked");
        QCOMPARE(window.isVisible(), !log.contains(QLatin1String("Adjust")));
        m_services->unregisterService(service);
    }

    void opensFiles_data()
    {
        QTest::addColumn<QByteArray>("program"); // what the desktop has for the type
        QTest::addColumn<bool>("portal");
        QTest::addColumn<bool>("result");
        QTest::newRow("program there") << QByteArray("player.desktop") << false << true;
        QTest::newRow("chooser") << QByteArray() << true << true;
        QTest::newRow("neither") << QByteArray() << false << false;
    }
    void opensFiles()
    {
        QFETCH(QByteArray, program);
        QFETCH(bool, portal);
        const QString tools = m_sandbox.path(QStringLiteral("tools/"));
        const QString opened = m_sandbox.path(QStringLiteral("opened"));
        const QString video = m_sandbox.path(QStringLiteral("a video.mp4"));
        QFile::remove(opened);
        QVERIFY(writeFile(video, "content"));
        script(tools + QStringLiteral("xdg-mime"), "echo " + program);
        script(tools + QStringLiteral("xdg-open"), "echo \"$1\" >" + opened.toUtf8() + ".new; mv " +
                                                       opened.toUtf8() + ".new " + opened.toUtf8());
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", tools.toUtf8() + ':' + path);
        const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
        QVERIFY(!portal || m_services->registerService(service));
        const bool result = openFile(video);
        m_services->unregisterService(service);
        qputenv("PATH", path);

        QTEST(result, "result");
        QCOMPARE(m_portal.calls.take(),
                 portal ? QStringList(QStringLiteral("content")) : QStringList());
        if (!program.isEmpty())
            QTRY_COMPARE(readFile(opened).trimmed(), video.toUtf8());
        QCOMPARE(QFile::exists(opened), !program.isEmpty());
    }

private:
    static QString markerName() { return QStringLiteral("org.example.StandIns"); }
    static void script(const QString &path, const QByteArray &line)
    {
        QVERIFY(writeFile(path, "#!/bin/sh\n" + line + '\n'));
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    Sandbox &m_sandbox;
    QProcess m_bus;
    QByteArray m_address;
    QThread m_thread;
    PowerService m_power;
    Portal m_portal;
    std::unique_ptr<QDBusConnection> m_services;
};

REELKEEPER_TEST_MAIN(TestDesktop)
#include "tst_desktop.moc"
