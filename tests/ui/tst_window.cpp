#include "appinfo.h"
#include "downloadermanager.h"
#include "downloadtablewidget.h"
#include "httpserver.h"
#include "literals.h"
#include "mainwindow.h"
#include "modaldriver.h"
#include "options.h"
#include "testmain.h"
#include "trayicon.h"
#include "webdatabase.h"

#include <QClipboard>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSqlDatabase>
#include <QSqlQuery>

Q_DECLARE_METATYPE(JobState)

// The whole window over real stores, with an update server that refuses.
class WindowTest final : public QObject
{
    Q_OBJECT

public:
    explicit WindowTest(Sandbox &sandbox)
        : m_sandbox(sandbox)
    {
    }

private slots:
    void init()
    {
        qputenv("REELKEEPER_UPDATE_HOST", "127.0.0.1:9");
        qputenv("REELKEEPER_SITE_HOST", "www.video.example");
        QFile::remove(profiles());
        QVERIFY(QFile::copy(QString::fromLocal8Bit(PROFILES), profiles()));
        QGuiApplication::clipboard()->clear();
        QFile::remove(m_sandbox.path("config/Quarnitek/Corvane Reelkeeper.conf"_q));
        QDir(m_sandbox.path("tmp"_q)).removeRecursively();
        QDir().mkpath(m_sandbox.path("tmp"_q));
        m_sandbox.loadOptions(true);
        QDir(Options::instance()->appDataPath()).removeRecursively();
    }

    void everythingFollowsTheSize_data()
    {
        QTest::addColumn<QSize>("size");
        for (const QSize size : {QSize(821, 588), QSize(500, 350), QSize(1600, 1000)})
            QTest::addRow("%dx%d", size.width(), size.height()) << size;
    }
    void everythingFollowsTheSize()
    {
        QFETCH(QSize, size);
        MainWindow window(true);
        window.resize(size);
        QTRY_COMPARE(window.size(), size);
        QCOMPARE(child<QWidget>(window, "tabWidget")->geometry(), QRect(QPoint(0, 0), size));
        for (const char *list : {"listViewDownloading", "listViewFinished"}) {
            QCOMPARE(child<QWidget>(window, list)->geometry(),
                     QRect(10, 50, size.width() - 20, size.height() - 95));
        }
        const QRect about = child<QWidget>(window, "btnAbout")->geometry();
        const QRect help = child<QWidget>(window, "btnHelp")->geometry();
        QCOMPARE(about.right(), size.width() - 11);
        QCOMPARE(help.right(), about.left() - 1);
        QCOMPARE(child<QWidget>(window, "btnSettings")->geometry().right(), help.left() - 1);
    }

    void storedJobsComeBack()
    {
        storeJobs({JobState::Stopped, JobState::Errored, JobState::Finished});
        {
            MainWindow window(true);
            QCOMPARE(window.exitCode(), 0);
            const auto *tabs = child<QTabWidget>(window, "tabWidget");
            QCOMPARE(tabs->tabText(0), "Downloading(2)"_q);
            QCOMPARE(tabs->tabText(1), "Finished(1)"_q);
            QVERIFY(!child<QPushButton>(window, "btnStart")->isEnabled());
            child<DownloadTableWidget>(window, "listViewDownloading")->selectRow(0);
            QVERIFY(child<QPushButton>(window, "btnStart")->isEnabled());
            QVERIFY(!child<QPushButton>(window, "btnPause")->isEnabled());
            QVERIFY(child<QPushButton>(window, "btnDownloadDelete")->isEnabled());
            ModalDriver person("QMessageBox", ModalDriver::press("Yes"_q));
            QTest::mouseClick(child<QPushButton>(window, "btnDownloadDelete"), Qt::LeftButton);
            QCOMPARE(person.seen(), 1);
            QTRY_COMPARE(tabs->tabText(0), "Downloading(1)"_q);
        }
        QVERIFY(WebDatabase::instance()->Init());
        QVERIFY(WebDatabase::instance()->Read(DownloaderManager::instance()));
        QCOMPARE(int(DownloaderManager::instance()->jobs().size()), 2);
        DownloaderManager::destroyInstance();
    }

    void jobThatEndsDuringTheStartIsReported()
    {
        storeJobs({JobState::Start});
        MainWindow window(true);
        QCOMPARE(DownloaderManager::instance()->findJob(1)->record.video_state, JobState::Errored);
        QCoreApplication::processEvents();
        QCOMPARE(child<QTabWidget>(window, "tabWidget")->tabText(0), "Downloading(1)"_q);
    }

    void copiedAddressOpensTheDialog_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("wanted");
        QTest::addColumn<int>("dialogs");
        const QString page = "www.video.example/watch?v=1"_q;
        QTest::newRow("without scheme") << " "_q + page + "\n"_q << true << 1;
        QTest::newRow("with scheme") << "http://"_q + page << true << 1;
        QTest::newRow("secure scheme") << "https://"_q + page << true << 0;
        QTest::newRow("another host") << "www.else.example/watch"_q << true << 0;
        QTest::newRow("switched off") << page << false << 0;
    }
    void copiedAddressOpensTheDialog()
    {
        QFETCH(QString, text);
        QFETCH(bool, wanted);
        MainWindow window(true);
        Options::instance()->autoOpenNew = wanted;
        QString offered;
        int open = 0;
        ModalDriver person("DlgNewDownload", [&](QWidget *dialog) {
            offered = dialog->findChild<QLineEdit *>("lineEditPage"_q)->text();
            QGuiApplication::clipboard()->setText("www.video.example/watch?v=2"_q);
            for (const QWidget *widget : QApplication::topLevelWidgets())
                open += widget->inherits("DlgNewDownload");
            dialog->close();
        });
        QGuiApplication::clipboard()->setText(text);
        QTEST(person.seen(), "dialogs");
        QCOMPARE(open, person.seen()); // never two at a time
        QCOMPARE(offered, open ? text.trimmed() : QString());
    }

    void closingKeepsTheProgram()
    {
        MainWindow window(true);
        window.close(); // there is no tray here
        QVERIFY(window.isVisible() && window.isMinimized());
        QVERIFY(Options::instance()->firstCloseMainFrame);
        window.hide();
        for (const char *ignored : {"0", "-1", "x", ""}) {
            window.onInstanceCheck(QString::fromLatin1(ignored));
            QVERIFY(!window.isVisible());
        }
        window.onInstanceCheck("1"_q);
        QVERIFY(window.isVisible() && !window.isMinimized());
    }

    void exit_data()
    {
        QTest::addColumn<JobState>("state");
        QTest::addColumn<bool>("asks");
        QTest::addColumn<QString>("button");
        QTest::addColumn<int>("questions");
        QTest::addColumn<bool>("ends");
        QTest::newRow("paused job, stay")
            << JobState::Stopped << true << "btnCancel"_q << 1 << false;
        QTest::newRow("paused job, exit") << JobState::Stopped << true << "btnExit"_q << 1 << true;
        QTest::newRow("not asked") << JobState::Stopped << false << QString() << 0 << true;
        QTest::newRow("failed job") << JobState::Errored << true << QString() << 0 << true;
    }
    void exit()
    {
        QFETCH(bool, asks);
        QFETCH(JobState, state);
        QFETCH(QString, button);
        storeJobs({state});
        MainWindow window(false);
        Options::instance()->queryOnExit = asks;
        ModalDriver person("DlgExit", ModalDriver::press(button));
        const auto leave = [&window] {
            window.findChild<TrayIcon *>()->actExit.trigger();
            QTimer::singleShot(0, &window, [] { QCoreApplication::exit(7); });
        };
        QTimer::singleShot(0, &window, leave);
        QTEST(QApplication::exec() == 0, "ends");
        QTEST(person.seen(), "questions");
    }

    void sessionEndEndsEveryDialog_data()
    {
        QTest::addColumn<QString>("button");
        QTest::newRow("settings") << "btnSettings"_q;
        QTest::newRow("while a page is fetched") << "btnNewDownload"_q;
    }
    void sessionEndEndsEveryDialog()
    {
        QFETCH(QString, button);
        HttpServer server;
        QVERIFY(server.listen());
        HttpResponse silence;
        silence.stallBeforeHeaders = true;
        server.setResponse("/watch", silence);
        QVERIFY(writeFile(m_sandbox.scriptFolder() + "127.0.0.1"_q, "1"));

        MainWindow window(true);
        const auto endSession = [&window] {
            window.resize(640, 480);
            window.onEndSession();
            window.onEndSession();
        };
        QTimer asked;
        connect(&asked, &QTimer::timeout, &window, [&] {
            if (!server.requests().isEmpty()) {
                asked.stop();
                endSession();
            }
        });
        ModalDriver person("QDialog", [&](QWidget *dialog) {
            auto *address = dialog->findChild<QLineEdit *>("lineEditPage"_q);
            if (!address)
                return endSession();
            address->setText(server.url("/watch"_q));
            asked.start(5);
            QTest::keyClick(dialog, Qt::Key_Return);
        });
        QTimer::singleShot(0, &window, [&] {
            QTest::keyClick(window.findChild<QPushButton *>(button), Qt::Key_Return);
        });
        QCOMPARE(QApplication::exec(), 0);
        QCOMPARE(person.seen(), 1);
        QCOMPARE(server.requests().size(), button == "btnNewDownload"_q ? 1 : 0);
        window.resize(700, 500);
        Options::instance()->restoreGeometry("MainFrame"_q, &window);
        QCOMPARE(window.size(), QSize(640, 480));
    }

    void failedStartUp_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QStringList>("boxes");
        QTest::addColumn<QString>("log");
        QTest::addColumn<int>("code");
        QTest::newRow("no profiles")
            << "profiles"_q
            << QStringList("Failed to load profiles. Please reinstall the program to solve this "
                           "problem."_q)
            << "Failed:Load profiles.xml"_q << 2;
        QTest::newRow("no place for the database")
            << "place"_q
            << QStringList("Failed to load the download database. Please reinstall the program to "
                           "solve this problem."_q)
            << "Failed:Load Database."_q << 2;
        QTest::newRow("unreadable database")
            << "content"_q
            << QStringList("Failed to read from the download database. A new database is going to "
                           "be created and the download history will be lost."_q)
            << "Failed:Read Database."_q << 0;
    }
    void failedStartUp()
    {
        QFETCH(QString, fault);
        const QString data = Options::instance()->appDataPath();
        if (fault == "profiles"_q) {
            QVERIFY(QFile::remove(profiles()));
        } else if (fault == "place"_q) {
            QVERIFY(QDir(data).removeRecursively());
            QVERIFY(writeFile(data.chopped(1), "in the way"));
        } else {
            {
                QSqlDatabase other = QSqlDatabase::addDatabase("QSQLITE"_q, "other"_q);
                other.setDatabaseName(data + "Task.dat"_q);
                QVERIFY(other.open());
                QVERIFY(QSqlQuery(other).exec("create table video_download(id int)"_q));
            }
            QSqlDatabase::removeDatabase("other"_q);
        }
        QStringList boxes;
        ModalDriver person("QMessageBox", [&boxes](QWidget *box) {
            boxes << static_cast<QMessageBox *>(box)->text();
            ModalDriver::press("OK"_q)(box);
        });
        {
            MainWindow window(true);
            QTEST(window.exitCode(), "code");
        }
        if (fault == "place"_q)
            QVERIFY(QFile::remove(data.chopped(1)));
        QTEST(boxes, "boxes");
        QFETCH(QString, log);
        QVERIFY(m_sandbox.logLines().contains(log));
    }

private:
    static QString profiles() { return QCoreApplication::applicationDirPath() + "/Profiles.xml"_q; }

    template <typename Widget>
    static Widget *child(const QWidget &window, const char *name)
    {
        return window.findChild<Widget *>(QString::fromLatin1(name));
    }

    void storeJobs(const QList<JobState> &states)
    {
        QVERIFY(WebDatabase::instance()->Init());
        DownloaderManager manager;
        for (const JobState state : states) {
            auto job = manager.newJob();
            job->record.id = int(manager.jobs().size()) + 1;
            job->record.title = "Clip %1"_q.arg(job->record.id);
            job->record.output_name = m_sandbox.path(job->record.title + ".mp4"_q);
            QVERIFY(writeFile(job->record.output_name, "video"));
            job->record.video_state = state;
            // What runs cannot go on: there is no such format any more.
            job->record.output_format = state == JobState::Start ? 99999 : 0;
            manager.addLoadedJob(std::move(job));
        }
    }

    Sandbox &m_sandbox;
};

REELKEEPER_TEST_MAIN(WindowTest)
#include "tst_window.moc"
