#include "enginefixture.h"
#include "jobsaver.h"
#include "literals.h"
#include "surroundings.h"

#include <QSignalSpy>
#include <QSqlQuery>

#include <climits>
#include <pthread.h>
#include <random>

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
    void init() { m_site.clear(); }

    void idsAreNotUsedTwice()
    {
        DownloaderManager manager(EngineFixture::surroundings());
        QVERIFY(manager.allFinished());
        for (const int id : {3, 7, 7, INT_MAX}) // a damaged list may hold these
            addStored(manager, id, JobState::Stopped);
        QVERIFY(manager.removeJob(7, false));
        QCOMPARE(manager.findJob(7), manager.jobs().at(2).get());
        QVERIFY(manager.removeJob(7, false));
        QVERIFY(!manager.findJob(7) && !manager.startJob(7) && !manager.removeJob(99, false));
        Options::instance()->sourceQuality = 2;
        const JobRecord &added = manager.addJob(m_site.info())->record;
        QVERIFY(added.id == 8 && added.quality_index == 2); // as set by then
    }

    void endsAreAnnounced()
    {
        DownloaderManager manager(EngineFixture::surroundings());
        QSignalSpy ended(&manager, &DownloaderManager::sigFinished);
        const QSignalSpy allEnded(&manager, &DownloaderManager::sigAllFinished);
        m_site.server.setResponse("/stream", EngineFixture::stream(1000));
        addStored(manager, 1, JobState::Stopped)->record.title = "..x"_q;
        manager.addJob(m_site.info());
        QVERIFY(ended.wait());
        QCOMPARE(allEnded.count(), 0); // the paused one is not finished
        QVERIFY(manager.pauseJob(2));  // nothing to pause is no failure
        manager.startAll();
        QVERIFY(ended.wait());
        QCOMPARE(allEnded.count(), 1);
        QCOMPARE(m_site.outputFiles(), (QStringList{"Clip.mp4"_q, "__x.mp4"_q}));
        // These end while they are being started, the first before the second has begun.
        for (const int id : {3, 4})
            addStored(manager, id, JobState::Errored)->record.output_format = 99999;
        manager.startAll();
        QCOMPARE(ended.count(), 4);
        QCOMPARE(allEnded.count(), 2);
    }

    void changesAreToldOnce()
    {
        HttpResponse silent;
        silent.stallBeforeHeaders = true;
        m_site.server.setResponse("/watch", silent); // nothing but the actions changes anything
        DownloaderManager manager(EngineFixture::surroundings());
        QSignalSpy changed(&manager, &DownloaderManager::sigJobsChanged);
        const std::function<void()> actions[] = {
            [&] {
                for (int i = 0; i < 5; ++i)
                    manager.addJob(m_site.info());
            },
            [&] { manager.pauseAll(); },
            [&] { manager.startJob(1); },
            [&] { manager.pauseJob(1); },
            [&] {
                manager.removeJob(3, true);
                manager.removeJob(4, false);
            },
        };
        int expected = 0;
        for (const auto &action : actions) {
            action();
            QCOMPARE(changed.count(), expected);
            QVERIFY(changed.wait());
            QCOMPARE(changed.count(), ++expected);
        }
        manager.findJob(1)->onError(); // an end is worth a save of its own, at once
        QCOMPARE(changed.count(), ++expected);
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

    void transfersBeginOneAfterTheOther()
    {
        m_site.server.setResponse("/stream", EngineFixture::stream(1000));
        DownloaderManager manager(EngineFixture::surroundings());
        for (int i = 0; i < 4; ++i)
            manager.addJob(m_site.info());
        QCOMPARE(manager.jobs().at(0)->findChildren<QThread *>().size(), 1);
        for (const int later : {1, 2, 3})
            QVERIFY(manager.jobs().at(later)->findChildren<QThread *>().isEmpty());
        QVERIFY(manager.pauseJob(3) && manager.removeJob(2, true)); // their turns are nobody's now
        QTRY_COMPARE(manager.findJob(4)->record.video_state, JobState::Finished);
        QTRY_COMPARE(manager.findJob(1)->record.video_state, JobState::Finished);
        QCOMPARE(m_site.server.requests("/stream").size(), 2);
    }

    void threadThatCannotBeStartedIsTriedAgain()
    {
        m_site.server.setResponse("/stream", EngineFixture::stream(1000));
        DownloaderManager manager(EngineFixture::surroundings());
        {
            const NoThreads full;
            manager.addJob(m_site.info());
            ListOnThread list(m_sandbox.path("none/"_q)); // whoever asks writes it himself
            QVERIFY(list.opened && JobSaver(manager, *list.database, list.storage).save());
        }
        QVERIFY(m_sandbox.logLines().contains("Download:Failed(no thread)"_q));
        QTRY_VERIFY(manager.allFinished());
    }

    void runningAndPausedJobsSurviveTheEnd()
    {
        ListOnThread list(m_sandbox.path("list/"_q));
        QVERIFY(list.opened);
        m_site.server.setResponse("/stream", EngineFixture::stream(300000, 300000));
        qint64 bytes = 0;
        {
            DownloaderManager manager(EngineFixture::surroundings());
            HttpJob *running = manager.addJob(m_site.info("Running"_q));
            HttpJob *paused = manager.addJob(m_site.info("Paused"_q));
            QTRY_VERIFY(paused->record.download_bytes > 0 && running->record.download_bytes > 0);
            QVERIFY(manager.pauseJob(2));
            QVERIFY(JobSaver(manager, *list.database, list.storage).saveLast());
            bytes = running->record.download_bytes;
        }
        DownloaderManager manager(EngineFixture::surroundings());
        bool read = false;
        list.storage.begin([&] { read = list.database->ReadRows(); });
        {
            // The program ends while it reads: what it has not taken in must not be lost.
            DownloaderManager empty(EngineFixture::surroundings());
            QVERIFY(!JobSaver(empty, *list.database, list.storage).saveLast());
        }
        list.database->TakeRows([&](const auto &fill) { return manager.loadJob(fill); });
        QVERIFY(read);
        HttpJob *running = manager.findJob(1);
        QVERIFY(running && manager.findJob(2));
        QCOMPARE(qint64(running->record.download_bytes), bytes); // stopped before it was saved
        m_site.server.setResponse("/stream", EngineFixture::stream(300000));
        m_site.server.clearRequests();
        manager.resumeRunning();
        QTRY_COMPARE(running->record.video_state, JobState::Finished);
        QVERIFY(isPattern(running->record.output_name, 300000));
        QVERIFY(m_site.server.requests("/stream").first().header("Range").startsWith("bytes="));
        QCOMPARE(manager.findJob(2)->record.video_state, JobState::Stopped);
    }

    // One transaction for the first, one for the others; and the window does not wait for either.
    void jobsThatChangeTogetherAreSavedTogether()
    {
        ListOnThread list(m_sandbox.path("soon/"_q));
        const auto transactions = [&] { // as the file itself counts them
            return readFile(list.database->path()).mid(24, 4).toHex().toUInt(nullptr, 16);
        };
        DownloaderManager manager(EngineFixture::surroundings());
        JobSaver saver(manager, *list.database, list.storage);
        JobRecord &record = addStored(manager, 7, JobState::Stopped)->record;
        QVERIFY(saver.save());
        const uint before = transactions();
        {
            QSqlDatabase other = QSqlDatabase::addDatabase("QSQLITE"_q, "other"_q);
            other.setDatabaseName(list.database->path());
            QVERIFY(other.open() && QSqlQuery(other).exec("BEGIN EXCLUSIVE"_q));
            QElapsedTimer clock;
            clock.start();
            for (const QString &page : {"at once"_q, "in a moment"_q, "the last one"_q}) {
                record.page = page;
                saver.saveSoon();
            }
            QVERIFY(clock.elapsed() < WebDatabase::quickPatience);
            other.close();
        }
        QSqlDatabase::removeDatabase("other"_q);
        QTRY_VERIFY(readFile(list.database->path()).contains("the last one"));
        QVERIFY(saver.save() && transactions() <= before + 2);
    }

    void failingSavesAreToldOnce()
    {
        DownloaderManager manager(EngineFixture::surroundings());
        const QString blocked = m_sandbox.path("told"_q);
        ListOnThread list(blocked + QLatin1Char('/'));
        JobSaver saver(manager, *list.database, list.storage);
        const QSignalSpy told(&saver, &JobSaver::sigSavingFails);
        for (int time = 0; time < 2; ++time) {
            QVERIFY(QDir(blocked).removeRecursively() && writeFile(blocked, "in the way"));
            QVERIFY(!saver.save());
            QCOMPARE(told.count(), time); // it may have been a moment's lock
            QVERIFY(!saver.save() && !saver.save());
            QCOMPARE(told.count(), time + 1);
            QVERIFY(QFile::remove(blocked));
            QVERIFY(saver.save());
        }
    }

    // Whatever a person does in whatever order, and wherever a stream is cut: no job and no byte is
    // lost, and no file is left over.
    void randomActions()
    {
        m_site.server.setHandler("/stream", [](const HttpRequest &request) {
            const qint64 bytes = request.target.split('=').last().toLongLong();
            HttpResponse response = EngineFixture::stream(bytes, 200000);
            if (request.header("Range").isEmpty())
                response.cutAfter = 1 + bytes / 4 * (bytes % 4);
            return response;
        });
        ListOnThread list(m_sandbox.path("random/"_q));
        DownloaderManager manager(EngineFixture::surroundings());
        JobSaver saver(manager, *list.database, list.storage);
        connect(&manager, &DownloaderManager::sigJobsChanged, &saver, &JobSaver::saveSoon);
        std::mt19937 random(1);
        QMap<int, qint64> sizes;
        const auto add = [&] {
            VideoInfo info = m_site.info();
            const qint64 bytes = 1 + random() % 60000;
            info.streams[0].videoAddress += "?bytes=%1"_q.arg(bytes);
            sizes.insert(manager.addJob(info)->record.id, bytes);
        };
        for (int i = 0; i < 20; ++i)
            add();
        for (int i = 0; i < 300; ++i) {
            const int id = (sizes.cbegin() + int(random() % unsigned(sizes.size()))).key();
            switch (random() % 8) {
            case 0:
                QVERIFY(manager.removeJob(id, true));
                sizes.remove(id);
                add();
                break;
            case 1:
            case 2:
            case 3:
                manager.pauseJob(id);
                break;
            default:
                manager.startJob(id);
            }
            QTest::qWait(int(random() % 5)); // what was begun goes on meanwhile
        }
        manager.startAll();
        QTRY_VERIFY_WITH_TIMEOUT(manager.allFinished(), 30000);
        for (auto it = sizes.cbegin(); it != sizes.cend(); ++it)
            QVERIFY(isPattern(manager.findJob(it.key())->record.output_name, it.value()));
        QCOMPARE(m_site.outputFiles().size(), sizes.size());
        QVERIFY(saver.save());
    }

private:
    HttpJob *addStored(DownloaderManager &manager, int id, JobState state)
    {
        auto job = manager.newJob();
        job->init(m_site.info(), id);
        job->record.video_state = state;
        manager.addLoadedJob(std::move(job));
        return manager.jobs().back().get();
    }
};

REELKEEPER_TEST_MAIN(ManagerTest)
#include "tst_manager.moc"
