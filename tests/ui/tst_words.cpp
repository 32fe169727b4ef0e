#include "downloadermanager.h"
#include "downloaderror.h"
#include "downloadtablewidget.h"
#include "finishedtablewidget.h"
#include "jobtrouble.h"
#include "literals.h"
#include "modaldriver.h"
#include "options.h"
#include "speedmeter.h"
#include "surroundings.h"
#include "testmain.h"
#include "troublewords.h"

#include <QHelpEvent>
#include <QMetaEnum>
#include <QNetworkReply>
#include <QTextDocumentFragment>
#include <QToolTip>

// What a person is told beside what is painted.
class WordsTest final : public SandboxTest
{
    Q_OBJECT

public:
    using SandboxTest::SandboxTest;

private:
    static QString shownTip()
    {
        return QTextDocumentFragment::fromHtml(QToolTip::text()).toPlainText();
    }
    // What is told of a cell of the first row to who points at it.
    static QString tip(QTableWidget *table, int column)
    {
        QToolTip::hideText();
        while (QToolTip::isVisible())
            QTest::qWait(10);
        const QPoint place = table->visualItemRect(table->item(0, column)).center();
        QHelpEvent event(QEvent::ToolTip, place, table->viewport()->mapToGlobal(place));
        QApplication::sendEvent(table->viewport(), &event);
        return shownTip();
    }

private slots:
    void everyErrorHasWords()
    {
        for (const QMetaEnum &codes :
             {QMetaEnum::fromType<QNetworkReply::NetworkError>(),
              QMetaEnum::fromType<DownloadError>(), QMetaEnum::fromType<JobTrouble::Reason>()}) {
            for (int i = 0; i < codes.keyCount(); ++i)
                QVERIFY2((codes.value(i) == 0) != (wordsOfCode(codes.value(i)) != nullptr),
                         codes.key(i));
        }
        QCOMPARE(troubleWords({JobTrouble::SoundRefused, "Specified rate 5%1"_q}),
                 "FFmpeg refused the sound: Specified rate 5%1"_q);
    }

    void speedIsThatOfTheLastSeconds()
    {
        constexpr quint32 start = 0xfffff000; // the clock wraps after some seconds
        SpeedMeter meter;
        qint64 bytes = 0;
        for (quint32 second = 0; second <= 20; ++second) {
            bytes += second < 10 ? 100 : 7000;
            meter.note(start + second * 1000, bytes);
            if (second == 0 || second == 9 || second == 20)
                QCOMPARE(meter.speed(start + second * 1000, bytes), second == 0   ? -1LL
                                                                    : second == 9 ? 100LL
                                                                                  : 7000LL);
        }
        QCOMPARE(meter.speed(start + 30000, bytes), 0LL); // nothing comes any more
        meter.note(start + 30000, 10);                    // from the beginning
        QCOMPARE(meter.speed(start + 32000, 2010), 1000LL);
    }

    void tipTellsWhatIsNotToBeSeen()
    {
        const QString title = "a title longer than its column"_q;
        m_sandbox.loadOptions();
        DownloaderManager manager(testSurroundings());
        QWidget window;
        auto *downloads = new DownloadTableWidget(&window);
        auto *finished = new FinishedTableWidget(&window);
        downloads->init(manager, *Options::instance(), Qt::darkBlue);
        finished->init(manager, *Options::instance(), Qt::darkBlue);
        downloads->resize(900, 300);
        window.resize(900, 300);
        downloads->setColumnWidth(1, 600);
        finished->setColumnWidth(0, 60);
        window.show();
        for (const auto state : {JobState::Errored, JobState::Finished}) {
            auto added = manager.newJob();
            added->record.id = 1 + int(manager.jobs().size());
            added->record.title = title;
            added->record.output_name = m_sandbox.path("title.mp4"_q);
            added->record.video_state = state;
            manager.addLoadedJob(std::move(added));
        }
        JobLists(manager, *downloads, *finished).fillViews();
        QCOMPARE(tip(finished, 0), title + "\n"_q + manager.findJob(2)->record.output_name);

        HttpJob *job = manager.findJob(1);
        QCOMPARE(tip(downloads, 0), "Failed"_q);
        QCOMPARE(tip(downloads, 1), QString()); // there is nothing to add
        manager.startJob(1);
        job->onDownloadError(NoCookies);
        QVERIFY(tip(downloads, 1)
                    .startsWith("The video's page does not answer as it should; next try in "_q));
        job->record.download_bytes = 3000;
        QVERIFY(tip(downloads, 3).endsWith(" s.\n2.9 KB received"_q));
        const QTableWidgetItem *progress = downloads->item(0, 3);
        QVERIFY(progress->data(Qt::AccessibleTextRole).toString().endsWith(" received"_q));
        job->record.download_bytes = 6000; // whoever looks on sees it come
        QTRY_VERIFY(shownTip().endsWith("5.9 KB received"_q));
        job->noteTrouble({DownloadError::FileWriteError, QString()}); // follows from the first
        job->onError();
        QCOMPARE(tip(downloads, 0), "Failed: The video's page does not answer as it should."_q);
        downloads->setColumnWidth(1, 60);
        QCOMPARE(tip(downloads, 1).section(QLatin1Char('\n'), 0, 0), title);
    }
};

REELKEEPER_TEST_MAIN(WordsTest)
#include "tst_words.moc"
