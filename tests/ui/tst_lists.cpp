#include "downloadermanager.h"
#include "downloadtablewidget.h"
#include "finishedtablewidget.h"
#include "literals.h"
#include "modaldriver.h"
#include "options.h"
#include "testmain.h"

#include <QAbstractButton>
#include <QContextMenuEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSignalSpy>
#include <QVBoxLayout>

#include <functional>
#include <random>

// Answers modal questions by the button of that name or text and keeps what was asked.
class Answer final : public ModalDriver
{
public:
    explicit Answer(const QString &button, std::function<void(QWidget *)> before = {})
        : ModalDriver("QDialog", [this, button, before](QWidget *dialog) {
            for (const QLabel *label : dialog->findChildren<QLabel *>())
                text += label->text();
            if (before)
                before(dialog);
            press(button)(dialog);
        })
    {
    }
    QString text;
};

// Opens the context menu by its key, tells what it offers and where, and clicks an entry.
static QString useMenu(QTableWidget *table, const QString &entry = QString(), QPoint *at = nullptr)
{
    QStringList offered;
    QTimer timer;
    timer.callOnTimeout([&] {
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        if (!menu)
            return;
        timer.stop();
        if (at)
            *at = menu->pos();
        QPoint where(-1, -1); // outside: the menu closes
        for (QAction *action : menu->actions()) {
            const QString text = action->text().remove(QLatin1Char('&'));
            if (action->isEnabled() && !action->isSeparator())
                offered += text;
            if (text == entry)
                where = menu->actionGeometry(action).center();
        }
        QTest::mouseClick(menu, Qt::LeftButton, {}, where);
    });
    timer.start(5);
    QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(5, 5));
    QApplication::sendEvent(table, &event);
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
        auto job = m_manager->newJob();
        HttpJob *added = job.get();
        added->record.id = id;
        added->record.title = "title %1"_q.arg(id);
        added->record.video_state = state;
        added->record.video_url = "http://127.0.0.1:1/video.flv"_q; // refuses at once
        added->record.output_name = file(added->record.title);
        m_manager->addLoadedJob(std::move(job));
        return added;
    }
    HttpJob *addShown(int id, JobState state)
    {
        HttpJob *job = addJob(id, state);
        writeFile(job->record.output_name, "video");
        state == JobState::Finished ? m_finished->insertJob(job) : m_downloads->insertJob(job);
        return job;
    }
    QString file(const QString &name) const { return m_sandbox.outputFolder() + name + ".flv"_q; }
    static QString column(const QTableWidget *table, int column)
    {
        QStringList texts;
        for (int row = 0; row < table->rowCount(); ++row)
            texts += table->item(row, column)->text();
        return texts.join(QLatin1Char(','));
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
        layout->addWidget(m_downloads);
        layout->addWidget(m_finished);
        layout->addWidget(new QPushButton);
        m_downloads->init(*m_manager, *Options::instance(), Qt::darkBlue);
        m_finished->init(*m_manager, *Options::instance(), Qt::darkBlue);
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

    void everyRowIsFoundAfterManyCameAndWent()
    {
        std::vector<HttpJob *> present;
        for (int id = 1; id <= 10000; ++id)
            present.push_back(addJob(id, JobState::Finished));
        JobLists(*m_manager, *m_downloads, *m_finished).fillViews();
        std::shuffle(present.begin(), present.end(), std::mt19937(1)); // the same at every run
        for (int i = 0; i < 200; ++i) {
            std::swap(present.at(size_t(i)), present.back());
            QVERIFY(m_finished->removeJob(present.back()));
            QVERIFY(!m_finished->updateJob(present.back()));
            if (i % 3 == 0)
                m_finished->insertJob(present.back(), i % 2 == 0 ? -1 : 17);
            else
                present.pop_back();
        }
        for (HttpJob *job : present) {
            job->record.title += QLatin1Char('!');
            job->record.changeFlags.set(TitleChanged);
            QVERIFY(m_finished->updateJob(job));
        }
        QCOMPARE(m_finished->rowCount(), int(present.size()));
        for (int row = 0; row < m_finished->rowCount(); ++row) {
            const QTableWidgetItem *title = m_finished->item(row, 0);
            QCOMPARE(title->text(), "title %1!"_q.arg(title->data(Qt::UserRole).toInt()));
        }
    }

    void columnsShareTheWidth()
    {
        QCOMPARE(proportionalWidths({30, 200}, -150), QVector<int>({27, 69})); // none vanishes
        QCOMPARE(proportionalWidths({0, 0, 0}, 100), QVector<int>({33, 33, 34}));
        QCOMPARE(proportionalWidths({287, 176, 255}, 100), QVector<int>({326, 200, 292}));
    }

    void strayKeysLeaveTheList()
    {
        addShown(1, JobState::Finished);
        m_finished->setFocus();
        for (Qt::Key key : {Qt::Key_Tab, Qt::Key_Backtab, Qt::Key_Backtab, Qt::Key_Tab})
            QTest::keyClick(QApplication::focusWidget(), key);
        QVERIFY(m_finished->hasFocus()); // there and back on both sides
        m_finished->setCurrentCell(0, 0);
        for (Qt::Key stray : {Qt::Key_Space, Qt::Key_X})
            QTest::keyClick(m_finished, stray);
        QVERIFY(!m_finished->findChild<QLineEdit *>()); // renames nothing
    }

    void menuStartsAndPausesTheSelection()
    {
        QCOMPARE(useMenu(m_downloads), QString());
        addShown(1, JobState::Errored);
        addShown(2, JobState::Stopped);
        QCOMPARE(m_downloads->rowHeight(0), 40); // room for two lines
        QVERIFY(m_downloads->canStart(false) && !m_downloads->canStart(true));
        QCOMPARE(useMenu(m_downloads), "Select All"_q);
        m_downloads->selectRow(0);
        QSignalSpy changed(m_downloads, &QTableWidget::itemSelectionChanged);
        QCOMPARE(useMenu(m_downloads, "Start"_q), "Start,Delete,Select All"_q);
        QVERIFY(m_manager->findJob(1)->isRunning() && !m_manager->findJob(2)->isRunning());
        QCOMPARE(useMenu(m_downloads, "Pause"_q), "Pause,Delete,Select All"_q);
        QVERIFY(!m_downloads->canPause(false));
        QCOMPARE(changed.count(), 2); // the buttons beside the list follow
    }

    void deletionSparesWhatFinishedMeanwhile()
    {
        for (int id = 1; id <= 5; ++id)
            addShown(id, JobState::Stopped);
        const Answer consent("Yes"_q, [this](QWidget *) {
            m_manager->findJob(1)->record.video_state = JobState::Finished;
            m_manager->findJob(1)->record.changeFlags.set(StateChanged);
            JobLists lists(*m_manager, *m_downloads, *m_finished);
            lists.updateViews();
            lists.updateViews(); // once is enough
        });
        QTest::keyClick(m_downloads, Qt::Key_Delete);
        m_downloads->onDelete();
        m_finished->onDelete();
        QCOMPARE(consent.seen(), 0); // nothing is selected yet
        m_downloads->setSelectionMode(QAbstractItemView::MultiSelection);
        for (int row : {3, 0, 2})
            m_downloads->selectRow(row); // jobs 4, 1 and 3
        useMenu(m_downloads, "Delete"_q);
        QVERIFY(consent.text.contains("Are you sure to delete them?"_q));
        QCOMPARE(column(m_downloads, 1), "title 2,title 5"_q);
        QCOMPARE(column(m_finished, 0), "title 1"_q);
        for (int id = 1; id <= 5; ++id) {
            const bool stays = id != 3 && id != 4;
            QCOMPARE(QFile::exists(file("title %1"_q.arg(id))), stays);
        }
    }

    void renameEndsInTheNameOrAMessage()
    {
        const QString tooLong(300, QLatin1Char('x'));
        const struct
        {
            QString typed;
            QString message;
        } cases[] = {
            {"  Holiday %1 "_q, QString()},
            {"   "_q, "Video name can not empty"_q},
            {" a:b "_q, "Video name \"a:b\" is invalidate."_q},
            {".hidden"_q, "Video name \".hidden\" is invalidate."_q},
            {"taken"_q, "A video called \"taken\" already existed."_q},
            {tooLong, "Video renamed to \"%1\" failed."_q.arg(tooLong)},
        };
        writeFile(file("taken"_q), "other");
        for (const auto &row : cases) {
            cleanup();
            init();
            const HttpJob *job = addShown(1, JobState::Finished);
            const Answer answer("OK"_q);
            const QSignalSpy changed(m_manager, &DownloaderManager::sigJobsChanged);
            m_finished->selectRow(0);
            m_finished->onRename();
            auto *editor = m_finished->findChild<QLineEdit *>();
            QVERIFY(editor && editor->hasFocus());
            editor->setText(row.typed);
            QTest::keyClick(editor, Qt::Key_Return);
            QTRY_VERIFY(answer.text.contains(row.message));
            const QString name = row.message.isEmpty() ? row.typed.trimmed() : "title 1"_q;
            QTRY_COMPARE(column(m_finished, 0), name);
            QCOMPARE(answer.seen(), row.message.isEmpty() ? 0 : 1);
            QCOMPARE(job->record.output_name, file(name));
            QCOMPARE(readFile(file(name)), QByteArray("video"));
            QCOMPARE(readFile(file("taken"_q)), QByteArray("other"));
            QTRY_COMPARE(changed.count(), row.message.isEmpty() ? 1 : 0);
        }
    }

    void keysMeanTheCurrentRow()
    {
        for (int id = 1; id <= 40; ++id)
            addShown(id, JobState::Finished);
        m_finished->setFocus();
        m_finished->selectRow(0);
        const auto cell = [this](int row) {
            return m_finished->visualItemRect(m_finished->item(row, 1));
        };
        const auto frame = [&](int row) {
            const QImage seen = m_finished->viewport()->grab(cell(row)).toImage();
            return seen.pixelColor(seen.width() / 2, 0) == QColor(52, 54, 78);
        };
        QTest::keyClick(m_finished, Qt::Key_Down, Qt::ControlModifier); // without selecting
        QVERIFY(!frame(0) && frame(1));
        m_finished->scrollToBottom();
        QPoint menu;
        QCOMPARE(useMenu(m_finished, QString(), &menu), "Play,Rename,Delete,Select All"_q);
        QVERIFY((cell(1) | m_finished->visualItemRect(m_finished->item(1, 0)))
                    .contains(m_finished->viewport()->mapFromGlobal(menu)));
        QFile::remove(m_manager->findJob(1)->record.output_name);
        const Answer answer("OK"_q);
        QTest::keyClick(m_finished, Qt::Key_Enter); // the other one is nobody's
        QCOMPARE(answer.seen(), 0);
        QTest::keyClick(m_finished, Qt::Key_Return);
        QCOMPARE(answer.text, "Cannot find the video"_q);
        QTest::keyClick(m_finished, Qt::Key_Return, Qt::ControlModifier); // in its folder
        QCOMPARE(answer.seen(), 2);
    }

    void missingVideoIsTold()
    {
        QFile::remove(addShown(1, JobState::Finished)->record.output_name);
        const Answer answer("OK"_q);
        const QPoint cell = m_finished->visualItemRect(m_finished->item(0, 1)).center();
        QTest::mouseClick(m_finished->viewport(), Qt::LeftButton, {}, cell);
        QTest::mouseDClick(m_finished->viewport(), Qt::LeftButton, {}, cell);
        QVERIFY(answer.text.contains("Cannot find the video"_q));
    }

    void finishedVideosGoWithOrWithoutTheirFiles()
    {
        static const struct
        {
            bool withFiles;
            const char *button;
            bool listed;
            bool files;
        } cases[] = {
            {false, "Yes", false, true}, {true, "Yes", false, false}, {true, "No", true, true}};
        for (const auto &row : cases) {
            cleanup();
            init();
            Options::instance()->deleteFinishedVideo = !row.withFiles;
            for (int id : {1, 2, 3})
                addShown(id, JobState::Finished);
            m_finished->selectRow(0);
            QTest::keyClick(m_finished, Qt::Key_Down, Qt::ShiftModifier);
            const Answer answer(QLatin1String(row.button), [](QWidget *dialog) {
                dialog->findChild<QAbstractButton *>("boxDeleteVideo"_q)->click();
            });
            QTest::keyClick(m_finished, Qt::Key_Delete);
            QCOMPARE(column(m_finished, 0), row.listed ? "title 1,title 2,title 3"_q : "title 3"_q);
            QCOMPARE(QFile::exists(file("title 2"_q)), row.files);
        }
    }
};

REELKEEPER_TEST_MAIN(TestLists)
#include "tst_lists.moc"
