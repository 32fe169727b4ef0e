#include "downloadermanager.h"
#include "enginefixture.h"
#include "literals.h"
#include "options.h"
#include "surroundings.h"
#include "testmain.h"
#include "webdatabase.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVariant>

class JobStoreTest final : public SandboxTest
{
    Q_OBJECT

public:
    using SandboxTest::SandboxTest;

private slots:
    void init()
    {
        m_sandbox.loadOptions(true);
        m_path = Options::instance()->appDataPath() + "Task.dat"_q;
        QFile::remove(m_path);
        QFile::remove(m_path + ".damaged"_q);
        QVERIFY(WebDatabase::instance()->Init());
    }

    void cleanup() { WebDatabase::destroyInstance(); }

    void firstStartHoldsTheVersionRowOnly()
    {
        QSqlQuery query("SELECT * FROM video_download"_q);
        QVERIFY(query.next());
        for (int column = 0; column < 22; ++column) {
            const QString value = query.value(column).toString();
            QVERIFY2(value == "0"_q || value == "-"_q, qPrintable(value));
        }
        QVERIFY(!query.next());
        DownloaderManager manager(testSurroundings());
        QVERIFY(WebDatabase::instance()->Read(&manager));
        QVERIFY(manager.jobs().empty());
    }

    void jobsComeBackInOrder()
    {
        const QString finished = m_sandbox.path("it's done.mp4"_q);
        writeFile(finished, "x");
        {
            DownloaderManager manager(testSurroundings());
            for (int i = 0; i < 4; ++i) {
                auto job = manager.newJob();
                JobRecord &r = job->record;
                r.id = 30 - i; // not the order of the key
                r.page = "http://www.host/watch?v='%1'&x=%2"_q;
                r.title = "Title %1 ünï 日本"_q;
                r.video_url = "http://host/a b'c"_q;
                r.video_usser_agent = "agent"_q;
                r.video_cookies = "cookie"_q;
                r.video_dimension = "640x360"_q;
                r.video_type = "video/mp4"_q;
                r.video_state = JobState(i);
                r.video_mame = m_sandbox.path("it's a source.mp4"_q);
                r.download_bytes = 5000000000LL + i;
                r.total_bytes = i == 1 ? -1 : 6000000000LL;
                r.duration = 61;
                r.output_format = i == 0 ? 5 : 0;
                r.output_name = finished;
                r.output_demision = "320x240"_q;
                r.guid = "{G}"_q;
                r.download_time = 42;
                r.quality_index = 3;
                r.spend_time = 4000000000LL;
                manager.addLoadedJob(std::move(job));
            }
            auto removed = manager.newJob();
            removed->record.id = 99;
            removed->removed = true;
            manager.addLoadedJob(std::move(removed));
        } // saves
        QVERIFY(WebDatabase::instance()->Init());
        DownloaderManager manager(testSurroundings());
        QVERIFY(WebDatabase::instance()->Read(&manager));
        QCOMPARE(manager.jobs().size(), std::size_t(4));
        for (int i = 0; i < 4; ++i) {
            const JobRecord &r = manager.jobs().at(i)->record;
            const QVariantList stored = {
                r.id, r.page, r.title, r.video_url.text(), r.video_mame.text(), r.output_name};
            QCOMPARE(stored, (QVariantList{30 - i, "http://www.host/watch?v='%1'&x=%2"_q,
                                           "Title %1 ünï 日本"_q, "http://host/a b'c"_q,
                                           m_sandbox.path("it's a source.mp4"_q), finished}));
            QCOMPARE(r.video_usser_agent + r.video_cookies.text(), QString());
            QCOMPARE(r.video_state, JobState(i));
            QCOMPARE(qint64(r.download_bytes), 5000000000LL + i);
            QCOMPARE(qint64(r.total_bytes), i == 1 ? -1LL : 6000000000LL);
            // A conversion counts anew; the end of the program added what it took.
            const qint64 spent = r.spend_time - (i == 0 ? 0 : 4000000000LL);
            QVERIFY(spent >= 0 && spent < 60000);
            QCOMPARE(r.quality_index, 3);
            QCOMPARE(r.changeFlags.test(StateChanged), r.video_state != JobState::Finished);
        }
    }

    void finishedJobWithoutItsFileIsDropped()
    {
        {
            DownloaderManager manager(testSurroundings());
            auto job = manager.newJob();
            job->record.id = 1;
            job->record.video_state = JobState::Finished;
            job->record.output_name = m_sandbox.path("gone.mp4"_q);
            manager.addLoadedJob(std::move(job));
        }
        QVERIFY(WebDatabase::instance()->Init());
        DownloaderManager manager(testSurroundings());
        QVERIFY(WebDatabase::instance()->Read(&manager));
        QVERIFY(manager.jobs().empty());
        QVERIFY(m_sandbox.logLines().contains("Error:Load Job Failed."_q));
    }

    void unusableFilesAreReplaced_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("empty") << QByteArray("");
        QTest::newRow("noise") << QByteArray(5000, 'x');
        QTest::newRow("cut header") << QByteArray("SQLite format 3");
    }

    void unusableFilesAreReplaced()
    {
        QFETCH(QByteArray, content);
        WebDatabase::destroyInstance();
        QVERIFY(writeFile(m_path, content));
        QVERIFY(WebDatabase::instance()->Init());
        DownloaderManager manager(testSurroundings());
        QVERIFY(WebDatabase::instance()->Read(&manager));
        QVERIFY(WebDatabase::instance()->Save(&manager));
        QCOMPARE(readFile(m_path + ".damaged"_q), content);
    }

    void unreadableTableIsRecreated()
    {
        QVERIFY(QSqlQuery().exec("ALTER TABLE video_download DROP COLUMN page"_q));
        DownloaderManager manager(testSurroundings());
        QVERIFY(!WebDatabase::instance()->Read(&manager));
        QVERIFY(WebDatabase::instance()->Recreate());
        QVERIFY(WebDatabase::instance()->Read(&manager));
        QVERIFY(WebDatabase::instance()->Save(&manager));
    }

    void listThatWasNotReadIsNotWrittenOver()
    {
        {
            DownloaderManager manager(testSurroundings());
            auto job = manager.newJob();
            job->record.id = 7;
            manager.addLoadedJob(std::move(job));
        }
        QVERIFY(WebDatabase::instance()->Init());
        {
            QSqlDatabase other = QSqlDatabase::addDatabase("QSQLITE"_q, "other"_q);
            other.setDatabaseName(m_path);
            QVERIFY(other.open() && QSqlQuery(other).exec("BEGIN EXCLUSIVE"_q));
            DownloaderManager manager(testSurroundings());
            QVERIFY(!WebDatabase::instance()->Read(&manager));
            QVERIFY(!WebDatabase::instance()->Recreate());
            other.close();
        } // saves, as far as it may
        QSqlDatabase::removeDatabase("other"_q);
        QVERIFY(WebDatabase::instance()->Init());
        DownloaderManager manager(testSurroundings());
        QVERIFY(WebDatabase::instance()->Read(&manager));
        QCOMPARE(manager.jobs().size(), std::size_t(1));
    }

    void listTakenAwayIsWrittenAnew()
    {
        DownloaderManager manager(testSurroundings());
        auto job = manager.newJob();
        job->record.id = 7;
        manager.addLoadedJob(std::move(job));
        QVERIFY(QFile::remove(m_path));
        QVERIFY(WebDatabase::instance()->Save(&manager));
        DownloaderManager reader(testSurroundings());
        QVERIFY(WebDatabase::instance()->Read(&reader));
        QCOMPARE(reader.jobs().size(), std::size_t(1));
    }

private:
    QString m_path;
};

REELKEEPER_TEST_MAIN(JobStoreTest)
#include "tst_jobstore.moc"
