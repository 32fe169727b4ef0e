#include "dlgsettings.h"
#include "downloadermanager.h"
#include "downloadtablewidget.h"
#include "literals.h"
#include "mainwindow.h"
#include "modaldriver.h"
#include "options.h"
#include "surroundings.h"
#include "testmain.h"

#include <QCheckBox>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QProcess>
#include <QPushButton>
#include <QStyleOptionButton>
#include <QTabBar>

// The window over real stores, with an update server that refuses, and what stands beside it.
class WindowTest final : public SandboxTest
{
    Q_OBJECT

public:
    using SandboxTest::SandboxTest;

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
        OutputProfileManager::destroyInstance(); // keeps to the options it was made with
        m_sandbox.loadOptions(true);
        QDir(Options::instance()->appDataPath()).removeRecursively();
    }

    void storedJobsComeBack()
    {
        storeJobs({JobState::Stopped, JobState::Errored, JobState::Finished, JobState::Start});
        {
            MainWindow window(true);
            const auto *tabs = child<QTabWidget>(window, "tabWidget");
            QCOMPARE(tabs->tabText(0) + tabs->tabText(1), "Downloading(3)Finished(1)"_q);
            const DownloaderManager &manager = *DownloaderManager::instance();
            QCOMPARE(manager.findJob(4)->record.video_state, JobState::Errored);
            QVERIFY(!child<QPushButton>(window, "btnStart")->isEnabled());
            child<DownloadTableWidget>(window, "listViewDownloading")->selectRow(0);
            QVERIFY(!child<QPushButton>(window, "btnPause")->isEnabled());
            for (const char *name : {"btnStart", "btnPause"}) {
                QTest::mouseClick(child<QPushButton>(window, name), Qt::LeftButton);
                QCOMPARE(manager.findJob(1)->isRunning(), name[3] == 'S');
            }
            for (bool selected : {false, true}) {
                for (const char *button : {"btnPlay", "btnRename", "btnFinishedDelete"})
                    QCOMPARE(child<QPushButton>(window, button)->isEnabled(), selected);
                child<QTableWidget>(window, "listViewFinished")->selectRow(0);
            }
            const ModalDriver person("QMessageBox", ModalDriver::press("Yes"_q));
            QTest::mouseClick(child<QPushButton>(window, "btnDownloadDelete"), Qt::LeftButton);
            QTRY_COMPARE(tabs->tabText(0), "Downloading(2)"_q);
            QTRY_COMPARE(storedPages(), QStringList({"-"_q, "2"_q, "3"_q, "4"_q})); // at once
            manager.findJob(2)->record.page = "changed"_q;
        }
        QCOMPARE(storedPages(), QStringList({"-"_q, "changed"_q, "3"_q, "4"_q}));
    }

    void copiedAddressOpensTheDialog()
    {
        static const struct
        {
            const char *text;
            bool wanted;
            int dialogs;
        } cases[] = {
            {" www.video.example/watch?v=1\n", true, 1},
            {"http://www.video.example/watch?v=1", true, 1},
            {"https://www.video.example/watch?v=1", true, 0},
            {"www.else.example/watch", true, 0},
            {"www.video.example/watch?v=1", false, 0},
        };
        MainWindow window(true);
        for (const auto &row : cases) {
            Options::instance()->autoOpenNew = row.wanted;
            const QString text = QString::fromLatin1(row.text);
            const ModalDriver person("DlgNewDownload", [&text](QWidget *dialog) {
                QCOMPARE(dialog->findChild<QLineEdit *>("lineEditPage"_q)->text(), text.trimmed());
                QGuiApplication::clipboard()->setText("www.video.example/2"_q); // opens no second
                dialog->close();
            });
            QGuiApplication::clipboard()->setText(text);
            QCOMPARE(person.seen(), row.dialogs);
            // What is handed over is taken whatever the settings say of copied addresses.
            const bool address = row.dialogs > 0 || !row.wanted;
            Options::instance()->autoOpenNew = false;
            QGuiApplication::clipboard()->setText(text);
            QApplication::setActiveWindow(&window);
            QTest::keySequence(&window, QKeySequence::Paste);
            QCoreApplication::processEvents();
            QMimeData data;
            data.setUrls({QUrl(text.trimmed())});
            const Qt::DropActions actions = Qt::MoveAction | Qt::LinkAction;
            QDragEnterEvent enter(QPoint(9, 9), actions, &data, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(&window, &enter);
            QCOMPARE(enter.isAccepted() && enter.dropAction() == Qt::LinkAction, address);
            QDropEvent drop(QPoint(9, 9), actions, &data, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(&window, &drop);
            QCoreApplication::processEvents();
            QCOMPARE(person.seen(), row.dialogs + (address ? 2 : 0));
        }
    }

    void closingKeepsTheProgram()
    {
        MainWindow window(true);
        window.close(); // there is no tray here
        QTRY_VERIFY(window.isVisible() && window.isMinimized());
        QVERIFY(Options::instance()->firstCloseMainFrame);
        child<QTableWidget>(window, "listViewFinished")->setColumnWidth(0, 111);
        window.hide();
        // Sessions end without a word.
        const auto saved = [this](const char *text) {
            return readFile(m_sandbox.path("config/Quarnitek/Corvane Reelkeeper.conf"_q))
                .contains(text);
        };
        QTRY_VERIFY(saved("Show%20Main%20Frame=false") && saved("Columns=\"111,"));
        window.onInstanceCheck("0"_q);
        QVERIFY(!window.isVisible());
        window.onInstanceCheck("1"_q);
        QVERIFY(window.isVisible() && !window.isMinimized());
    }

    void exitAsksWhileThereIsSomethingToLose()
    {
        static const struct
        {
            bool asks;
            JobState state;
            const char *button;
            int questions;
            bool ends;
            bool asksLater; // the box is checked every time
        } cases[] = {
            {true, JobState::Stopped, "btnCancel", 1, false, true},
            {true, JobState::Stopped, "btnExit", 1, true, false},
            {false, JobState::Stopped, "", 0, true, false},
            {true, JobState::Errored, "", 0, true, true},
        };
        for (const auto &row : cases) {
            init();
            storeJobs({row.state});
            MainWindow window(false);
            Options::instance()->queryOnExit = row.asks;
            const ModalDriver person("DlgExit", [&row](QWidget *dialog) {
                dialog->findChild<QCheckBox *>("boxAskAgain"_q)->setChecked(true);
                ModalDriver::press(QString::fromLatin1(row.button))(dialog);
            });
            QTimer::singleShot(0, &window, [&window] {
                trayAction(window, "&Exit"_q)->trigger();
                QTimer::singleShot(0, &window, [] { QCoreApplication::exit(7); });
            });
            QCOMPARE(QApplication::exec() == 0, row.ends);
            QCOMPARE(person.seen(), row.questions);
            QCOMPARE(Options::instance()->queryOnExit, row.asksLater);
        }
    }

    void sessionEndsWhileADialogIsOpen()
    {
        MainWindow window(true);
        const ModalDriver person("DlgNewDownload", [&window](QWidget *) {
            window.resize(640, 480);
            window.onEndSession();
        });
        QTimer::singleShot(0, &window, &MainWindow::onNewDownload);
        QCOMPARE(QApplication::exec(), 0);
        QCOMPARE(person.seen(), 1);
        window.resize(700, 500);
        Options::instance()->restoreGeometry("MainFrame"_q, &window);
        QCOMPARE(window.size(), QSize(640, 480));
    }

    void sessionThatEndsDuringTheStartEndsIt()
    {
        storeJobs({JobState::Start});
        QVERIFY(!MainWindow(true, nullptr, [] { return true; }).isVisible());
        QCOMPARE(storedPages(), QStringList({"-"_q, "1"_q}));
    }

    void listsFollowTheWindowBehindTheOtherTab()
    {
        storeJobs(QVector<JobState>(20, JobState::Stopped).toList()); // more than it shows
        MainWindow window(true);
        QCoreApplication::processEvents();
        QCOMPARE(child<QTableWidget>(window, "listViewDownloading")->columnWidth(1), 287);
        auto *finished = child<QTableWidget>(window, "listViewFinished");
        QCOMPARE(finished->columnWidth(0), 387);
        auto *tabs = child<QTabWidget>(window, "tabWidget");
        const QSize size = window.size();
        window.resize(size + QSize(200, 0));
        tabs->setCurrentWidget(finished->parentWidget());
        QCoreApplication::processEvents();
        QCOMPARE(finished->columnWidth(0), 487);
        QCOMPARE(child<QTableWidget>(window, "listViewDownloading")->size(), finished->size());
        window.resize(size); // and in front of it
        QCOMPARE(finished->columnWidth(0), 387);
        tabs->setCurrentIndex(0);
        window.resize(size + QSize(200, 0));
        QCOMPARE(finished->columnWidth(0), 487); // at once: it may be stored now
        tabs->setCurrentWidget(finished->parentWidget());
        QCOMPARE(finished->columnWidth(0), 487); // and once only
    }

    void nothingCoversAnythingInEitherDirection()
    {
        for (const auto direction : {Qt::LeftToRight, Qt::RightToLeft}) {
            QApplication::setLayoutDirection(direction);
            MainWindow window(true);
            const auto *tabs = child<QTabWidget>(window, "tabWidget")->tabBar();
            QRegion taken = QRegion(tabs->tabRect(0) | tabs->tabRect(1)).translated(tabs->pos());
            for (const char *name : {"btnSettings", "btnHelp", "btnAbout"}) {
                const QRect place = child<QPushButton>(window, name)->geometry();
                QVERIFY2(!taken.intersects(place) && window.rect().contains(place), name);
                taken += place;
            }
            const ModalDriver person("DlgAbout");
            QTest::mouseClick(child<QPushButton>(window, "btnAbout"), Qt::LeftButton);
            QCOMPARE(person.seen(), 1);
            const DlgSettings dialog(*Options::instance());
            const auto *box = child<QCheckBox>(dialog, "checkBoxAuto");
            QStyleOptionButton tick;
            tick.initFrom(box);
            const QRect indicator =
                box->style()->subElementRect(QStyle::SE_CheckBoxIndicator, &tick, box);
            QVERIFY(dialog.rect().contains(indicator.translated(box->pos())));
        }
        QApplication::setLayoutDirection(Qt::LeftToRight);
    }

    void startsWithoutProfilesEndWithAMessage()
    {
        QVERIFY(QFile::remove(profiles()));
        QString text;
        const ModalDriver person("QMessageBox", [&text](QWidget *box) {
            text = static_cast<QMessageBox *>(box)->text();
            box->close();
        });
        const MainWindow window(true);
        QCOMPARE(window.exitCode(), 2);
        QVERIFY(text.startsWith("Failed to load profiles."_q));
        QVERIFY(m_sandbox.logLines().contains("Failed:Load profiles.xml"_q));
    }

    void nothingOpensAboveTheCountdown()
    {
        MainWindow window(true);
        Options::instance()->shutDownWhenAllFinished = true;
        const QString address = "www.video.example/watch?v=1"_q;
        QString offered;
        const ModalDriver person("QDialog", [&](QWidget *dialog) {
            if (auto *page = dialog->findChild<QLineEdit *>("lineEditPage"_q)) {
                offered = page->text();
            } else {
                QGuiApplication::clipboard()->setText(address);
                QVERIFY(offered.isEmpty() && QApplication::activeModalWidget() == dialog);
                QVERIFY(!child<QPushButton>(window, "btnSettings")->isEnabled());
                QVERIFY(!trayAction(window, "S&ettings..."_q)->isEnabled());
            }
            dialog->close();
        });
        emit DownloaderManager::instance()->sigAllFinished();
        QTRY_COMPARE(offered, address);
        QVERIFY(child<QPushButton>(window, "btnSettings")->isEnabled());
    }

private:
    static QString profiles() { return QCoreApplication::applicationDirPath() + "/Profiles.xml"_q; }

    template <typename Widget>
    static Widget *child(const QWidget &window, const char *name)
    {
        return window.findChild<Widget *>(QString::fromLatin1(name));
    }

    // The tray's menu is the window's as well.
    static QAction *trayAction(QWidget &window, const QString &text)
    {
        QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint());
        QApplication::sendEvent(&window, &event);
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        menu->close();
        for (QAction *action : menu->actions()) {
            if (action->text() == text)
                return action;
        }
        return nullptr;
    }

    HttpJob *addJob(DownloaderManager *manager, const QString &title, JobState state)
    {
        auto job = manager->newJob();
        job->record.id = int(manager->jobs().size()) + 1;
        job->record.title = title;
        job->record.output_name = m_sandbox.path(title + ".mp4"_q);
        job->record.video_state = state;
        // What runs cannot go on: there is no such format any more.
        job->record.output_format = state == JobState::Start ? 99999 : 0;
        manager->addLoadedJob(std::move(job));
        return manager->jobs().back().get();
    }

    // As another program sees the stored list.
    QStringList storedPages() const
    {
        QProcess query;
        query.start("sqlite3"_q, {"-readonly"_q, m_listPath, "select page from video_download"_q});
        query.waitForFinished();
        return QString::fromUtf8(query.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }

    void storeJobs(const QList<JobState> &states)
    {
        WebDatabase database(Options::instance()->appDataPath());
        QVERIFY(database.Init());
        m_listPath = database.path();
        DownloaderManager manager(testSurroundings());
        for (const JobState state : states) {
            HttpJob *job = addJob(&manager, "Clip %1"_q.arg(manager.jobs().size() + 1), state);
            job->record.page = QString::number(job->record.id);
            QVERIFY(writeFile(job->record.output_name, "video"));
        }
        QVERIFY(database.Save(manager.records()));
    }

    QString m_listPath;
};

REELKEEPER_TEST_MAIN(WindowTest)
#include "tst_window.moc"
