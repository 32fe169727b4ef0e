#include "clipboardwatch.h"
#include "dlgabout.h"
#include "dlgexit.h"
#include "dlgsettings.h"
#include "dlgshutdown.h"
#include "downloadermanager.h"
#include "exitcontrol.h"
#include "jobnotifications.h"
#include "linklable.h"
#include "literals.h"
#include "modaldriver.h"
#include "options.h"
#include "testmain.h"

#include <QCheckBox>
#include <QClipboard>
#include <QDesktopServices>
#include <QLineEdit>
#include <QMessageBox>
#include <QSignalSpy>

Q_DECLARE_METATYPE(JobState)

// What stands beside the main window, and its small dialogs.
class WindowPartsTest final : public QObject
{
    Q_OBJECT

public:
    explicit WindowPartsTest(Sandbox &sandbox)
        : m_sandbox(sandbox)
    {
    }

public slots:
    void openAddress(const QUrl &url) { m_opened << url.toString(); }

private slots:
    void init() { m_sandbox.loadOptions(true); }

    void textsFitTheirPlaces()
    {
        const QList<QSharedPointer<QDialog>> dialogs = {
            QSharedPointer<QDialog>(new DlgExit), QSharedPointer<QDialog>(new DlgSettings),
            QSharedPointer<QDialog>(new DlgShutDown), QSharedPointer<QDialog>(new DlgAbout)};
        for (const auto &dialog : dialogs) {
            QList<QWidget *> texts;
            for (QLabel *label : dialog->findChildren<QLabel *>())
                texts << label;
            for (QAbstractButton *button : dialog->findChildren<QAbstractButton *>())
                texts << button;
            for (const QWidget *text : qAsConst(texts)) {
                const QString name = dialog->objectName() + "."_q + text->objectName();
                const int right =
                    text->mapTo(dialog.data(), QPoint(text->sizeHint().width(), 0)).x();
                if (text->objectName() != "btnSelectFolder"_q && text->objectName() != "label"_q)
                    QVERIFY2(text->sizeHint().width() <= text->width() && right <= dialog->width(),
                             qPrintable(name));
            }
        }
    }

    void exitQuestion_data()
    {
        QTest::addColumn<bool>("asks");
        QTest::addColumn<bool>("check");
        QTest::addColumn<QString>("button");
        QTest::addColumn<bool>("exits");
        QTest::addColumn<bool>("asksLater");
        QTest::newRow("exit") << true << false << "btnExit"_q << true << true;
        QTest::newRow("exit, never ask again") << true << true << "btnExit"_q << true << false;
        QTest::newRow("stay, box checked") << true << true << "btnCancel"_q << false << true;
        QTest::newRow("box shows the setting") << false << true << "btnExit"_q << true << false;
    }
    void exitQuestion()
    {
        QFETCH(bool, asks);
        QFETCH(bool, check);
        QFETCH(QString, button);
        Options::instance()->queryOnExit = asks;
        DlgExit dialog;
        auto *box = dialog.findChild<QCheckBox *>("boxAskAgain"_q);
        QCOMPARE(box->isChecked(), !asks);
        box->setChecked(check);
        ModalDriver person("DlgExit", ModalDriver::press(button));
        QTEST(dialog.exec() == QDialog::Accepted, "exits");
        QTEST(Options::instance()->queryOnExit, "asksLater");
    }

    void countdownEndsByItself()
    {
        DlgShutDown dialog(nullptr, 2);
        const auto *label = dialog.findChild<QLabel *>("labelRemainTime"_q);
        QCOMPARE(label->text(), "You computer will be shut down in 30 seconds, \nplease save all "
                                "works in progress."_q);
        QCOMPARE(dialog.exec(), int(QDialog::Accepted));
        QCOMPARE(label->text(), "You computer will be shut down in 1 seconds .\nPlease save all "
                                "works in progress."_q);
    }

    void lastJobShutsDownOnlyWhenAskedFor()
    {
        const int before = m_sandbox.logLines().size();
        DownloaderManager manager;
        JobNotifications notifications(&manager, nullptr, nullptr);
        QString button = "btnCancel"_q;
        ModalDriver person("DlgShutDown",
                           [&](QWidget *shown) { ModalDriver::press(button)(shown); });
        notifications.allEnded();
        QCOMPARE(person.seen(), 0);
        Options::instance()->shutDownWhenAllFinished = true;
        notifications.allEnded();
        QCOMPARE(m_sandbox.logLines().size(), before);
        button = "btnShutdown"_q;
        notifications.allEnded();
        QVERIFY(m_sandbox.logLines().mid(before).contains("CloseSystem:Enter"_q));
        QCOMPARE(person.seen(), 2);
    }

    void jobIsAnnounced_data()
    {
        QTest::addColumn<JobState>("state");
        QTest::addColumn<bool>("notify");
        QTest::addColumn<QString>("balloon");
        QTest::newRow("finished") << JobState::Finished << true
                                  << "Download Finished|The video \"50% %1\" is  completed."_q;
        QTest::newRow("failed") << JobState::Errored << true
                                << "Download Failed|Failed to download \"50% %1\"."_q;
        QTest::newRow("not wanted") << JobState::Finished << false << QString();
    }
    void jobIsAnnounced()
    {
        QFETCH(JobState, state);
        QFETCH(bool, notify);
        Options::instance()->notifyWhenFinished = notify;
        DownloaderManager manager;
        auto job = manager.newJob();
        job->record.id = 4;
        job->record.title = "50% %1"_q;
        job->record.video_state = state;
        manager.addLoadedJob(std::move(job));
        QString balloon;
        JobNotifications notifications(&manager, nullptr, [&](const QString &a, const QString &b) {
            balloon += a + "|"_q + b;
        });
        notifications.jobEnded(4);
        notifications.jobEnded(5);
        QTEST(balloon, "balloon");
    }

    void windowHidesWhereThereIsATray()
    {
        bool tray = true;
        QWidget window;
        window.show();
        ExitControl control(&window, [&tray] { return tray; });
        QVERIFY(control.sendToBackground()); // the balloon is due once
        QVERIFY(!window.isVisible());
        window.show();
        QVERIFY(!control.sendToBackground());
        control.followTray();
        QVERIFY(!window.isVisible());
        tray = false;
        control.followTray();
        QVERIFY(window.isVisible() && window.isMinimized());
    }

    void sameTextIsOfferedOnce()
    {
        QClipboard *clipboard = QGuiApplication::clipboard();
        clipboard->setText(" one\n"_q);
        ClipboardWatch always(clipboard, false);
        ClipboardWatch withFocus(clipboard, true);
        for (const QString &offered : {"one"_q, QString()}) {
            QCOMPARE(withFocus.changed(), offered);
            QCOMPARE(always.changed(), "one"_q); // copied again, offered again
        }
        clipboard->clear();
        QCOMPARE(withFocus.activated(), QString());
        clipboard->setText("two"_q);
        QCOMPARE(withFocus.activated(), "two"_q);
        QCOMPARE(always.activated(), QString());
    }

    void folderIsChosen_data()
    {
        QTest::addColumn<QString>("chosen"); // in the sandbox; empty: cancelled
        QTest::addColumn<QString>("answers");
        QTest::addColumn<QString>("boxes");
        QTest::addColumn<QString>("folder"); // empty: as it was
        QTest::newRow("cancelled") << QString() << QString() << QString() << QString();
        QTest::newRow("there") << "tmp"_q << QString() << QString() << "tmp/"_q;
        QTest::newRow("separator at the end") << "tmp/"_q << QString() << QString() << "tmp/"_q;
        const QString missing =
            "Directory \"%1\" does not exist. Would you like to create it now?|"_q;
        QTest::newRow("made") << "new/deep"_q
                              << "Yes"_q << missing << "new/deep/"_q;
        QTest::newRow("not made") << "other"_q
                                  << "No"_q << missing << QString();
        QTest::newRow("cannot be made")
            << "file/folder"_q
            << "Yes"_q << missing + "Failed to create directory \"%1\".|"_q << QString();
        QTest::newRow("not writable")
            << "/proc"_q << QString()
            << "Cannot create files in the specified folder \"%1\". Please check if you have write "
               "permission to the folder.|"_q
            << QString();
    }
    void folderIsChosen()
    {
        QFETCH(QString, chosen);
        QFETCH(QString, answers);
        QFETCH(QString, boxes);
        QFETCH(QString, folder);
        QVERIFY(writeFile(m_sandbox.path("file"_q), "x"));
        const QString path = chosen == "/proc"_q ? chosen : m_sandbox.path(chosen);
        const QString before = m_sandbox.outputFolder();
        DlgSettings dialog(nullptr, [&](QWidget *, const QString &start, QString *result) {
            *result = path;
            return start == before && !chosen.isEmpty();
        });
        QString shown;
        ModalDriver person("QMessageBox", [&](QWidget *box) {
            shown += static_cast<QMessageBox *>(box)->text() + "|"_q;
            ModalDriver::press(
                shown.count(QLatin1Char('|')) == 1 && !answers.isEmpty() ? answers : "OK"_q)(box);
        });
        dialog.onSelectFolder();
        QCOMPARE(shown, boxes.replace("%1"_q, path));
        const QString expected = folder.isEmpty() ? before : m_sandbox.path(folder);
        QCOMPARE(dialog.findChild<QLineEdit *>("lineEdit"_q)->text(), expected);
        QCOMPARE(Options::instance()->outputFolder, before);
        dialog.accept();
        QCOMPARE(Options::instance()->outputFolder, expected);
    }

    void escLeavesTheSettings()
    {
        DlgSettings dialog;
        for (QCheckBox *box : dialog.findChildren<QCheckBox *>())
            box->toggle();
        ModalDriver person("DlgSettings",
                           [](QWidget *shown) { QTest::keyClick(shown, Qt::Key_Escape); });
        dialog.exec();
        QVERIFY(Options::instance()->autoOpenNew && !Options::instance()->shutDownWhenAllFinished);
        dialog.accept();
        QVERIFY(!Options::instance()->autoOpenNew && Options::instance()->shutDownWhenAllFinished);
    }

    void linkOpensItsAddress()
    {
        QDesktopServices::setUrlHandler("mailto"_q, this, "openAddress");
        LinkLable link(nullptr, "write"_q, "mailto:a@b.example"_q);
        QSignalSpy clicked(&link, &LinkLable::clicked);
        QTest::mouseClick(&link, Qt::RightButton);
        QTest::keyClick(&link, Qt::Key_Return);
        QCOMPARE(m_opened, QStringList({"mailto:a@b.example"_q, "mailto:a@b.example"_q}));
        QCOMPARE(clicked.count(), 0);
        link.setLink("nothing"_q, QString());
        QTest::mouseClick(&link, Qt::LeftButton);
        QCOMPARE(clicked.count(), 1);
        QDesktopServices::unsetUrlHandler("mailto"_q);
    }

private:
    Sandbox &m_sandbox;
    QStringList m_opened;
};

REELKEEPER_TEST_MAIN(WindowPartsTest)
#include "tst_windowparts.moc"
