#include "downloadermanager.h"
#include "enginefixture.h"
#include "literals.h"
#include "surroundings.h"
#include "webdatabase.h"

#include <QSignalSpy>

#include <pthread.h>

namespace {

// Rows as ids, in order.
class View final : public JobView
{
public:
    void insertJob(HttpJob *job, int) override { rows << job->record.id; }
    bool updateJob(HttpJob *job) override
    {
        updated << job->record.id;
        job->record.changeFlags.clear(~0u);
        return rows.contains(job->record.id);
    }
    bool removeJob(HttpJob *job) override { return rows.removeOne(job->record.id); }

    QList<int> rows;
    QList<int> updated;
};

} // namespace

// While it lives the system cannot start a thread: there is no room for such a stack.
class NoThreads final
{
public:
    NoThreads()
    {
        pthread_getattr_default_np(&m_before);
        pthread_attr_t endless;
        pthread_attr_init(&endless);
        pthread_attr_setstacksize(&endless, size_t(1) << 47);
        pthread_setattr_default_np(&endless);
    }
    ~NoThreads() { pthread_setattr_default_np(&m_before); }

private:
    pthread_attr_t m_before;
};

class ManagerTest final : public EngineTest
{
    Q_OBJECT

public:
    using EngineTest::EngineTest;

private slots:
    void init()
    {
        m_site.clear();
        QVERIFY(WebDatabase::instance()->Init());
    }

    void idsAreNotUsedTwice()
    {
        DownloaderManager manager(EngineFixture::surroundings());
        QVERIFY(manager.allFinished());
        for (const int id : {3, 7}) {
            auto job = manager.newJob();
            job->record.id = id;
            job->record.video_state = JobState::Stopped;
            manager.addLoadedJob(std::move(job));
        }
        QVERIFY(manager.removeJob(7, false));
        QVERIFY(!manager.findJob(7));
        QVERIFY(!manager.startJob(7));
        QCOMPARE(manager.addJob(m_site.info())->record.id, 8);
        QVERIFY(!manager.removeJob(99, false));
    }

    void endsAreAnnouncedAndMoveTheRows()
    {
        DownloaderManager manager(EngineFixture::surroundings());
        QSignalSpy ended(&manager, &DownloaderManager::sigFinished);
        QSignalSpy allEnded(&manager, &DownloaderManager::sigAllFinished);
        View downloads, finished;
        m_site.server.setResponse("/stream", EngineFixture::stream(1000));
        auto paused = manager.newJob();
        paused->init(m_site.info("Paused"_q), 1);
        paused->record.video_state = JobState::Stopped;
        manager.addLoadedJob(std::move(paused));
        manager.fillViews(&downloads, &finished);
        downloads.insertJob(manager.addJob(m_site.info()), -1);
        QVERIFY(ended.wait());
        QCOMPARE(allEnded.count(), 0); // the paused one is not finished
        manager.updateViews(&downloads, &finished);
        QCOMPARE(downloads.rows, QList<int>{1});
        QCOMPARE(finished.rows, QList<int>{2});
        manager.updateViews(&downloads, &finished);
        QCOMPARE(finished.rows, QList<int>{2});
        QVERIFY(manager.pauseJob(2)); // nothing to pause is no failure
        manager.startAll();
        QVERIFY(ended.wait());
        QCOMPARE(allEnded.count(), 1);
    }

    void removedJobIsStoppedAndItsFilesGo()
    {
        m_site.server.setResponse("/stream", EngineFixture::stream(1000000, 100000));
        DownloaderManager manager(EngineFixture::surroundings());
        HttpJob *job = manager.addJob(m_site.info());
        QTRY_VERIFY(job->record.download_bytes > 0);
        QCOMPARE(m_site.outputFiles().size(), 1);
        QVERIFY(manager.removeJob(job->record.id, true));
        QCOMPARE(m_site.outputFiles().size(), 0);
        QTRY_COMPARE(m_site.server.openConnections(), 0);
        QVERIFY(manager.allFinished());
    }

    void removedJobIsNotTriedAgain()
    {
        DownloaderManager manager(testSurroundings({200, 5}));
        const auto addRefused = [&](const QString &path) {
            m_site.server.setResponse(path.toLatin1(), HttpResponse::error(503));
            VideoInfo info = m_site.info();
            info.streams[0].videoAddress = m_site.server.url(path);
            manager.addJob(info);
        };
        addRefused("/removed"_q);
        QTRY_VERIFY(m_sandbox.logLines().contains("Download:Failed(restart 0 times)"_q));
        QVERIFY(manager.removeJob(1, true));
        addRefused("/stays"_q); // its second attempt comes after the other's would
        QTRY_COMPARE(m_site.server.requests("/stays").size(), 2);
        QCOMPARE(m_site.server.requests("/removed").size(), 1);
    }

    void threadThatCannotBeStartedIsTriedAgain()
    {
        m_site.server.setResponse("/stream", EngineFixture::stream(1000));
        DownloaderManager manager(EngineFixture::surroundings());
        {
            const NoThreads full;
            manager.addJob(m_site.info());
        }
        QVERIFY(m_sandbox.logLines().contains("Download:Failed(no thread)"_q));
        QTRY_VERIFY(manager.allFinished());
    }

    void runningAndPausedJobsSurviveTheEnd()
    {
        m_site.server.setResponse("/stream", EngineFixture::stream(300000, 300000));
        qint64 bytes = 0;
        {
            DownloaderManager manager(EngineFixture::surroundings());
            HttpJob *running = manager.addJob(m_site.info("Running"_q));
            HttpJob *paused = manager.addJob(m_site.info("Paused"_q));
            QTRY_VERIFY(paused->record.download_bytes > 0 && running->record.download_bytes > 0);
            QVERIFY(manager.pauseJob(2));
            bytes = running->record.download_bytes;
        }
        QVERIFY(WebDatabase::instance()->Init());
        DownloaderManager manager(EngineFixture::surroundings());
        QVERIFY(WebDatabase::instance()->Read(&manager));
        HttpJob *running = manager.findJob(1);
        QVERIFY(running && manager.findJob(2));
        QVERIFY(running->record.download_bytes >= bytes);
        m_site.server.setResponse("/stream", EngineFixture::stream(300000));
        m_site.server.clearRequests();
        manager.resumeRunning();
        QTRY_COMPARE(running->record.video_state, JobState::Finished);
        QVERIFY(isPattern(running->record.output_name, 300000));
        QVERIFY(m_site.server.requests("/stream").first().header("Range").startsWith("bytes="));
        QCOMPARE(manager.findJob(2)->record.video_state, JobState::Stopped);
    }
};

REELKEEPER_TEST_MAIN(ManagerTest)
#include "tst_manager.moc"
