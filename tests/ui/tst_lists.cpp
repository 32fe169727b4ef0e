#include "downloadtablewidget.h"
#include "finishedtablewidget.h"
#include "options.h"
#include "testmain.h"

#include <QAbstractButton>
#include <QContextMenuEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QVBoxLayout>

#include <functional>
#include <random>

static QString plain(QString text)
{
    return text.remove(QLatin1Char('&'));
}

// Answers the next modal question by the button of that text and keeps what was asked.
class Answer final : public QTimer
{
public:
    explicit Answer(const QString &button, std::function<void(QWidget *)> before = {})
    {
        callOnTimeout(this, [this, button, before] {
            QWidget *dialog = QApplication::activeModalWidget();
            if (!dialog)
                return;
            stop();
            title = dialog->windowTitle();
            for (const QLabel *label : dialog->findChildren<QLabel *>())
                text += label->text();
            if (before)
                before(dialog);
            for (QAbstractButton *candidate : dialog->findChildren<QAbstractButton *>()) {
                if (plain(candidate->text()) == button)
                    candidate->click();
            }
        });
        start(5);
    }
    QString title;
    QString text;
};

// Opens the context menu, tells what it offers and clicks an entry.
static QString useMenu(QTableWidget *table, const char *entry = "")
{
    QStringList offered;
    QTimer timer;
    timer.callOnTimeout([&] {
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        if (!menu)
            return;
        timer.stop();
        QPoint where(-1, -1); // outside: the menu closes
        for (QAction *action : menu->actions()) {
            if (action->isEnabled() && !action->isSeparator())
                offered += plain(action->text());
            if (plain(action->text()) == QLatin1String(entry))
                where = menu->actionGeometry(action).center();
        }
        QTest::mouseClick(menu, Qt::LeftButton, {}, where);
    });
    timer.start(5);
    QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(5, 5));
    QApplication::sendEvent(table->viewport(), &event);
    return offered.join(QLatin1Char(','));
}

// Both lists over a real manager, used the way a person does: keys, menus, editors, questions.
class TestLists final : public QObject
{
    Q_OBJECT

public:
    explicit TestLists(Sandbox &sandbox)
        : m_sandbox(sandbox)
    {
    }

private:
    HttpJob *addJob(int id, JobState state)
    {
        auto job = std::make_unique<HttpJob>();
        HttpJob *added = job.get();
        added->record.id = id;
        added->record.title = QStringLiteral("title %1").arg(id);
        added->record.video_state = state;
        added->record.video_url = QStringLiteral("http://127.0.0.1:1/video.flv"); // refuses at once
        added->record.output_name = file(added->record.title);
        m_manager->addLoadedJob(std::move(job));
        return added;
    }
    HttpJob *addFinished(int id)
    {
        HttpJob *job = addJob(id, JobState::Finished);
        writeFile(job->record.output_name, "video");
        m_finished->insertJob(job);
        return job;
    }
    QString file(const QString &name) const
    {
        return m_sandbox.outputFolder() + name + QStringLiteral(".flv");
    }
    static QString shown(const QTableWidget *table, int row, int column)
    {
        return table->item(row, column)->text();
    }

    Sandbox &m_sandbox;
    DownloaderManager *m_manager = nullptr;
    std::unique_ptr<QWidget> m_window;
    DownloadTableWidget *m_downloads = nullptr;
    FinishedTableWidget *m_finished = nullptr;

private slots:
    void init()
    {
        m_sandbox.loadOptions();
        m_manager = DownloaderManager::instance();
        m_window = std::make_unique<QWidget>();
        m_downloads = new DownloadTableWidget;
        m_finished = new FinishedTableWidget;
        auto *layout = new QVBoxLayout(m_window.get());
        for (QWidget *widget :
             {static_cast<QWidget *>(m_downloads), static_cast<QWidget *>(m_finished),
              static_cast<QWidget *>(new QPushButton)})
            layout->addWidget(widget);
        m_downloads->init();
        m_finished->init();
        m_window->resize(900, 700);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    }
    void cleanup()
    {
        m_window.reset();
        DownloaderManager::destroyInstance();
        Options::destroyInstance();
    }

    void refreshTouchesOnlyWhatChanged_data()
    {
        QTest::addColumn<int>("changes");
        QTest::addColumn<QString>("cells");
        QTest::newRow("none") << 0 << "Paused|title 1| 00:00 |0";
        QTest::newRow("state") << int(StateChanged) << "Failed|title 1| 00:00 |1 4 0 4";
        QTest::newRow("title") << int(TitleChanged) << "Paused|new| 00:00 |0";
        QTest::newRow("information") << int(BasicInformationChanged) << "Paused|title 1| 01:01 |0";
        QTest::newRow("progress") << int(ProgressChanged) << "Paused|title 1| 00:00 |1 4 0 4";
    }
    void refreshTouchesOnlyWhatChanged()
    {
        QFETCH(int, changes);
        HttpJob *job = addJob(1, JobState::Stopped);
        m_downloads->insertJob(job);
        QCOMPARE(m_downloads->rowHeight(0), 40);
        job->record.video_state = JobState::Errored;
        job->record.title = QStringLiteral("new");
        job->record.duration = 61;
        job->record.download_bytes = 1;
        job->record.total_bytes = 4;
        job->record.changeFlags.set(quint32(changes));
        QVERIFY(m_downloads->updateJob(job));
        QCOMPARE(job->record.changeFlags.value(), 0u);
        QStringList cells(m_downloads->item(0, 0)->toolTip());
        for (int column = 1; column < 4; ++column)
            cells += shown(m_downloads, 0, column);
        QTEST(cells.join(QLatin1Char('|')), "cells");
        QVERIFY(m_downloads->removeJob(job));
        QVERIFY(!m_downloads->updateJob(job) && !m_downloads->removeJob(job));
    }

    void everyRowIsFoundAfterManyCameAndWent()
    {
        std::vector<HttpJob *> present;
        for (int id = 1; id <= 10000; ++id)
            present.push_back(addJob(id, JobState::Finished));
        m_manager->fillViews(m_downloads, m_finished);
        QCOMPARE(m_finished->rowCount(), 10000);
        std::mt19937 random(1); // the same at every run
        std::shuffle(present.begin(), present.end(), random);
        for (int i = 0; i < 200; ++i) {
            QVERIFY(m_finished->removeJob(present.back()));
            QVERIFY(!m_finished->updateJob(present.back()));
            if (i % 3 == 0) {
                m_finished->insertJob(present.back(), i % 2 == 0 ? -1 : 17);
                std::swap(present.front(), present.back());
            } else {
                present.pop_back();
            }
        }
        for (HttpJob *job : present) {
            job->record.title += QLatin1Char('!');
            job->record.changeFlags.set(TitleChanged);
            QVERIFY(m_finished->updateJob(job));
        }
        QCoreApplication::processEvents(); // no rename, no message of one
        QCOMPARE(m_finished->rowCount(), int(present.size()));
        for (int row = 0; row < m_finished->rowCount(); ++row) {
            const int id = m_finished->item(row, 0)->data(Qt::UserRole).toInt();
            QCOMPARE(shown(m_finished, row, 0), QStringLiteral("title %1!").arg(id));
        }
    }

    void widthChangeIsShared_data()
    {
        using Widths = QVector<int>;
        QTest::addColumn<Widths>("before");
        QTest::addColumn<int>("delta");
        QTest::addColumn<Widths>("after");
        QTest::newRow("narrower") << Widths{287, 176, 255} << -100 << Widths{248, 152, 218};
        QTest::newRow("not below the smallest") << Widths{30, 200} << -150 << Widths{27, 69};
        QTest::newRow("no width at all") << Widths{0, 0, 0} << 100 << Widths{33, 33, 34};
        QTest::newRow("absurd") << Widths(2, 2000000000) << 100 << Widths(2, 2000000050);
    }
    void widthChangeIsShared()
    {
        QFETCH(QVector<int>, before);
        QFETCH(int, delta);
        QTEST(proportionalWidths(before, delta), "after");
    }

    void columnsFollowTheTable()
    {
        const auto widths = [](const QTableWidget *table) {
            QVector<int> result;
            for (int column = 0; column < table->columnCount(); ++column)
                result += table->columnWidth(column);
            return result;
        };
        QVERIFY(m_downloads->loadColumns() && m_finished->loadColumns());
        m_window->resize(1000, 700);
        QTRY_COMPARE(widths(m_downloads), (QVector<int>{49, 326, 200, 292}));
        QTRY_COMPARE(widths(m_finished), (QVector<int>{437, 436}));
        // A list behind another tab learns its new width when it is shown.
        m_finished->hide();
        m_window->resize(900, 700);
        QTRY_COMPARE(m_downloads->columnWidth(1), 287);
        m_finished->show();
        QTRY_COMPARE(widths(m_finished), (QVector<int>{387, 386}));
    }

    void navigationKeysAreLeftToTheWindow()
    {
        addFinished(1);
        m_finished->setFocus();
        m_finished->setCurrentCell(0, 0, QItemSelectionModel::NoUpdate);
        for (int key : {Qt::Key_Enter, Qt::Key_Left, Qt::Key_Right, Qt::Key_Space}) {
            QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier, QStringLiteral(" "));
            QApplication::sendEvent(m_finished, &event);
            QVERIFY(!event.isAccepted());
        }
        QCOMPARE(m_finished->currentColumn(), 0);
        QVERIFY(!m_finished->hasSelection() && !m_finished->findChild<QLineEdit *>());
        for (Qt::Key key : {Qt::Key_Tab, Qt::Key_Backtab, Qt::Key_Backtab, Qt::Key_Tab})
            QTest::keyClick(QApplication::focusWidget(), key);
        QVERIFY(m_finished->hasFocus()); // there and back on both sides
    }

    void deleteKeyAsksOnlyWithASelection()
    {
        m_downloads->insertJob(addJob(1, JobState::Stopped));
        addFinished(2);
        for (JobTableWidget *list : {static_cast<JobTableWidget *>(m_downloads),
                                     static_cast<JobTableWidget *>(m_finished)}) {
            Answer answer(QStringLiteral("No"));
            QTest::keyClick(list, Qt::Key_Delete);
            QVERIFY(answer.title.isEmpty());
            list->selectRow(0);
            QSignalSpy changed(list, &QTableWidget::itemSelectionChanged);
            QTest::keyClick(list, Qt::Key_Delete);
            QCOMPARE(answer.title, QStringLiteral("Delete"));
            QCOMPARE(changed.count(), 1);
            QCOMPARE(list->rowCount(), 1);
            QVERIFY(!list->findChild<QLineEdit *>()); // the key opens no editor either
        }
    }

    void menuStartsAndPausesTheSelection()
    {
        QCOMPARE(useMenu(m_downloads), QString());
        for (int id : {1, 2})
            m_downloads->insertJob(addJob(id, id == 1 ? JobState::Errored : JobState::Stopped));
        QVERIFY(m_downloads->canStart(false) && !m_downloads->canStart(true));
        QCOMPARE(useMenu(m_downloads), QStringLiteral("Select All"));
        m_downloads->selectRow(0);
        QSignalSpy changed(m_downloads, &QTableWidget::itemSelectionChanged);
        QCOMPARE(useMenu(m_downloads, "Start"), QStringLiteral("Start,Delete,Select All"));
        QVERIFY(m_manager->findJob(1)->isRunning() && !m_manager->findJob(2)->isRunning());
        QCOMPARE(useMenu(m_downloads, "Pause"), QStringLiteral("Pause,Delete,Select All"));
        QVERIFY(!m_downloads->canPause(false));
        QCOMPARE(changed.count(), 2);
    }

    void deletionSparesWhatFinishedMeanwhile()
    {
        for (int id = 1; id <= 5; ++id) {
            HttpJob *job = addJob(id, JobState::Stopped);
            writeFile(job->record.output_name, "bytes");
            m_downloads->insertJob(job);
        }
        m_downloads->setSelectionMode(QAbstractItemView::MultiSelection);
        for (int row : {3, 0, 2})
            m_downloads->selectRow(row); // jobs 4, 1 and 3
        const Answer consent(QStringLiteral("Yes"), [this](QWidget *) {
            m_manager->findJob(1)->record.video_state = JobState::Finished;
            m_manager->findJob(1)->record.changeFlags.set(StateChanged);
            m_manager->updateViews(m_downloads, m_finished);
        });
        useMenu(m_downloads, "Delete");
        QVERIFY(consent.text.contains(QLatin1String("Are you sure to delete them?")));
        QCOMPARE(m_downloads->rowCount(), 2);
        QCOMPARE(shown(m_downloads, 0, 1), QStringLiteral("title 2"));
        QCOMPARE(shown(m_downloads, 1, 1), QStringLiteral("title 5"));
        QCOMPARE(m_finished->rowCount(), 1);
        for (int id = 1; id <= 5; ++id) {
            const bool stays = id != 3 && id != 4;
            QCOMPARE(m_manager->findJob(id) != nullptr, stays);
            QCOMPARE(QFile::exists(file(QStringLiteral("title %1").arg(id))), stays);
        }
    }

    void renameEndsInTheNameOrAMessage_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("name");
        const QString tooLong(300, QLatin1Char('x'));
        QTest::newRow("trimmed") << "  Holiday %1 " << QString() << "Holiday %1";
        QTest::newRow("blank") << "   "
                               << "Video name can not empty"
                               << "title 1";
        QTest::newRow("colon") << " a:b "
                               << "Video name \"a:b\" is invalidate."
                               << "title 1";
        QTest::newRow("taken") << "taken"
                               << "A video called \"taken\" already existed."
                               << "title 1";
        QTest::newRow("too long") << tooLong
                                  << QStringLiteral("Video renamed to \"%1\" failed.").arg(tooLong)
                                  << "title 1";
        QTest::newRow("gone") << "gone"
                              << "Video renamed to \"gone\" failed."
                              << "title 1";
    }
    void renameEndsInTheNameOrAMessage()
    {
        QFETCH(QString, typed);
        QFETCH(QString, message);
        QFETCH(QString, name);
        HttpJob *job = addFinished(1);
        writeFile(file(QStringLiteral("taken")), "other");
        const bool gone = typed == QLatin1String("gone");
        if (gone)
            QVERIFY(QFile::remove(job->record.output_name));

        Answer answer(QStringLiteral("OK"));
        m_finished->selectRow(0);
        m_finished->onRename();
        auto *editor = m_finished->findChild<QLineEdit *>();
        QVERIFY(editor && editor->hasFocus());
        editor->setText(QString());
        editor->insert(typed);
        QTest::keyClick(editor, Qt::Key_Return);
        QTRY_VERIFY(message.isEmpty() || answer.text.contains(message));
        QTRY_COMPARE(shown(m_finished, 0, 0), name);
        QCOMPARE(answer.title, message.isEmpty() ? QString() : QStringLiteral("Tip"));
        QCOMPARE(job->record.title, name);
        QCOMPARE(job->record.output_name, file(name));
        QCOMPARE(readFile(file(name)), gone ? QByteArray() : QByteArray("video"));
        QCOMPARE(readFile(file(QStringLiteral("taken"))), QByteArray("other"));
        QFile::remove(file(name));
    }

    void missingVideoIsTold()
    {
        QFile::remove(addFinished(1)->record.output_name);
        const Answer answer(QStringLiteral("OK"));
        const QPoint cell = m_finished->visualItemRect(m_finished->item(0, 1)).center();
        QTest::mouseClick(m_finished->viewport(), Qt::LeftButton, {}, cell);
        QTest::mouseDClick(m_finished->viewport(), Qt::LeftButton, {}, cell);
        QVERIFY(answer.text.contains(QLatin1String("Cannot find the video")));
    }

    void finishedVideosGoWithOrWithoutTheirFiles_data()
    {
        QTest::addColumn<bool>("before"); // the option
        QTest::addColumn<bool>("toggled");
        QTest::addColumn<QString>("button"); // empty: Enter
        QTest::addColumn<bool>("option");
        QTest::addColumn<bool>("listed");
        QTest::addColumn<bool>("files");
        QTest::newRow("with files") << true << false << "Yes" << true << false << false;
        QTest::newRow("keep files") << true << true << "Yes" << false << false << true;
        QTest::newRow("Enter") << false << true << "" << true << false << false;
        QTest::newRow("No keeps all") << true << true << "No" << true << true << true;
    }
    void finishedVideosGoWithOrWithoutTheirFiles()
    {
        QFETCH(bool, before);
        QFETCH(bool, toggled);
        QFETCH(QString, button);
        QFETCH(bool, listed);
        QFETCH(bool, files);
        Options::instance()->deleteFinishedVideo = before;
        for (int id : {1, 2, 3})
            addFinished(id);
        m_finished->selectRow(0);
        QTest::keyClick(m_finished, Qt::Key_Down, Qt::ShiftModifier);
        const Answer answer(button, [&](QWidget *dialog) {
            auto *box = dialog->findChild<QAbstractButton *>(QStringLiteral("boxDeleteVideo"));
            QCOMPARE(box->isChecked(), before);
            if (toggled)
                box->click();
            if (button.isEmpty())
                QTest::keyClick(box, Qt::Key_Return);
        });
        QCOMPARE(useMenu(m_finished, "Delete"), QStringLiteral("Delete,Select All"));
        QCOMPARE(answer.text, QStringLiteral("Are you sure to delete the video(s)?"));
        QTEST(Options::instance()->deleteFinishedVideo, "option");
        QCOMPARE(m_finished->rowCount(), listed ? 3 : 1);
        QCOMPARE(shown(m_finished, m_finished->rowCount() - 1, 0), QStringLiteral("title 3"));
        QCOMPARE(m_manager->findJob(2) != nullptr, listed);
        QCOMPARE(QFile::exists(file(QStringLiteral("title 2"))), files);
    }
};

REELKEEPER_TEST_MAIN(TestLists)
#include "tst_lists.moc"
