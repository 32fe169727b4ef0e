#include "enginefixture.h"
#include "literals.h"
#include "surroundings.h"

#include <QProcess>
#include <QSqlQuery>

#include <random>

class JobStoreTest final : public SandboxTest
{
    Q_OBJECT

public:
    using SandboxTest::SandboxTest;

private slots:
    void init()
    {
        m_sandbox.loadOptions(true);
        m_folder = m_sandbox.path("list/"_q);
        m_path = m_folder + "Task.dat"_q;
        QDir(m_folder).removeRecursively();
        m_database = std::make_unique<WebDatabase>(m_folder);
        QVERIFY(m_database->Init());
    }

    void cleanup() { m_database.reset(); }

    // Lists of other versions are read by these names and in this order.
    void everyFieldHasItsColumn()
    {
        QSqlQuery query("SELECT sql FROM sqlite_master WHERE name='video_download'"_q);
        QVERIFY(query.next());
        const QString names =
            "id,page,title,keyword,category,video_url,video_usser_agent,video_cookies,"
            "video_dimension,video_state,video_type,video_mame,download_bytes,total_bytes,duration,"
            "output_format,output_name,output_demision,guid,download_time,quality_index,spend_time"_q;
        QCOMPARE(query.value(0).toString().toLower(),
                 "create table video_download(id int primary key,page varchar(1024),title "
                 "varchar(256),keyword varchar(1024),category varchar(256),video_url "
                 "varchar(1024),video_usser_agent varchar(1024),video_cookies varchar(1024),"
                 "video_dimension varchar(10),video_state int,video_type varchar(256),video_mame "
                 "varchar(256),download_bytes long,total_bytes long,duration long,output_format "
                 "int,output_name  varchar(256),output_demision varchar(10),guid varchar(256),"
                 "download_time int,quality_index int,spend_time int)"_q);
        query.exec("SELECT * FROM video_download"_q);
        QVERIFY(query.next());
        QCOMPARE(query.value(0).toString() + query.value(1).toString(), "0-"_q);
        QVERIFY(!query.next());
        query.finish();
        QVERIFY(query.exec("INSERT INTO video_download("_q + names +
                           ") VALUES(30,'a','b','c','d','e','f','g','h',1,'i','j',"
                           "5000000000,6000000000,61,0,'k','l','m',42,3,4000000000)"_q));

        DownloaderManager manager(EngineFixture::surroundings());
        QVERIFY(readJobs(*m_database, manager));
        const JobRecord &r = manager.jobs().at(0)->record;
        const QStringList texts = {r.page,          r.title,           r.keyword,
                                   r.category,      r.video_url,       r.video_usser_agent,
                                   r.video_cookies, r.video_dimension, r.video_type,
                                   r.video_mame,    r.output_name,     r.output_demision,
                                   r.guid};
        QCOMPARE(texts.join(QString()), "abcdefghijklm"_q);
        const QList<qint64> numbers = {r.id,
                                       qint64(JobState(r.video_state)),
                                       r.download_bytes,
                                       r.total_bytes,
                                       r.duration,
                                       r.output_format,
                                       r.download_time,
                                       r.quality_index,
                                       r.spend_time};
        QCOMPARE(numbers, (QList<qint64>{30, 1, 5000000000, 6000000000, 61, 0, 42, 3, 4000000000}));

        QVERIFY(m_database->Save(manager.records()));
        QVERIFY(query.exec("SELECT "_q + names + " FROM video_download"_q));
        QVERIFY(query.next() && query.next());
        QStringList stored;
        for (int i = 0; i < 22; ++i)
            stored += query.value(i).toString();
        QCOMPARE(stored.join(QLatin1Char(' ')),
                 "30 a b c d e   h 1 i j 5000000000 6000000000 61 0 k l m 42 3 4000000000"_q);
    }

    void jobsComeBackInOrder()
    {
        const QString page = "http://www.host/watch?v='%1'&x=%2"_q;
        const QString title = "Title %1 ünï 日本"_q;
        const QString finished = m_sandbox.path("it's done.mp4"_q);
        writeFile(finished, "x");
        DownloaderManager manager(EngineFixture::surroundings());
        for (int id = 30; id > 24; --id) { // not the order of the key
            auto job = manager.newJob();
            JobRecord &r = job->record;
            r.id = id;
            r.page = page;
            r.title = title;
            r.video_state = id == 29 ? JobState::Stopped : JobState::Finished;
            r.output_name = id == 28 ? "/gone.mp4"_q : finished;
            r.output_format = id == 27 ? 5 : 0;
            r.spend_time = 1000;
            job->removed = id == 26;
            manager.addLoadedJob(std::move(job));
        }
        QVERIFY(m_database->Save(manager.records()));
        DownloaderManager reader(EngineFixture::surroundings());
        QVERIFY(readJobs(*m_database, reader));
        QList<int> ids;
        for (const JobRecord *r : reader.records()) {
            ids += r->id;
            QCOMPARE(r->page + r->title, page + title);
            QCOMPARE(r->spend_time, r->id == 27 ? 0 : 1000); // a conversion counts anew
            QCOMPARE(r->changeFlags.test(StateChanged), r->id == 29);
        }
        QCOMPARE(ids, (QList<int>{30, 29, 27, 25}));
        QVERIFY(m_sandbox.logLines().contains("Error:Load Job Failed."_q));
    }

    void unusableFilesAreReplaced()
    {
        m_database.reset();
        const QByteArray contents[] = {"", QByteArray(5000, 'x'), "SQLite format 3"};
        for (const QByteArray &content : contents) {
            QVERIFY(writeFile(m_path, content));
            WebDatabase database(m_folder);
            QVERIFY(database.Init());
            DownloaderManager manager(EngineFixture::surroundings());
            QVERIFY(readJobs(database, manager) && database.Save(manager.records()));
        }
        // Each of them is kept.
        for (int i = 0; i < 3; ++i)
            QCOMPARE(readFile(m_path + ".damaged"_q + (i > 0 ? "_%1"_q.arg(i) : QString())),
                     contents[i]);
    }

    // What the person is told, and what happens, depends on what became of the file since it was
    // opened.
    void listThatCannotBeRead_data()
    {
        QTest::addColumn<int>("fileState");
        QTest::newRow("busy") << int(FileState::Withheld);
        QTest::newRow("damaged") << int(FileState::Damaged);
        QTest::newRow("lost") << int(FileState::Missing);
    }

    void listThatCannotBeRead()
    {
        QFETCH(int, fileState);
        const auto state = FileState(fileState);
        DownloaderManager manager(EngineFixture::surroundings());
        QVERIFY(addJob(manager) && m_database->Save(manager.records()));
        QVERIFY(m_database->Init());
        QVERIFY(
            !m_database->Save(JobTable::Records())); // what is in the file has not been read yet
        QVERIFY(m_database->ReadRows() && !m_database->Save(JobTable::Records()));
        {
            QSqlDatabase other = QSqlDatabase::addDatabase("QSQLITE"_q, "other"_q);
            other.setDatabaseName(m_path);
            QVERIFY(other.open());
            if (state == FileState::Withheld)
                QVERIFY(QSqlQuery(other).exec("BEGIN EXCLUSIVE"_q));
            else if (state == FileState::Damaged)
                QVERIFY(QSqlQuery(other).exec("ALTER TABLE video_download DROP COLUMN page"_q));
            else
                QVERIFY(QFile::resize(m_path, 0) && QFile::remove(m_path));
            DownloaderManager reader(EngineFixture::surroundings());
            QVERIFY(!readJobs(*m_database, reader));
            QCOMPARE(m_database->state(), state);
            const QString aside = m_database->asideName();
            QCOMPARE(m_database->Recreate(), state != FileState::Withheld);
            QCOMPARE(QFile::exists(aside), state == FileState::Damaged);
            QCOMPARE(m_database->Save(JobTable::Records()), state != FileState::Withheld);
            other.close();
        }
        QSqlDatabase::removeDatabase("other"_q);
        QCOMPARE(storedJobs(), state == FileState::Withheld ? 1 : 0);
    }

    void listThatIsTakenAwayIsWrittenAnew_data()
    {
        QTest::addColumn<bool>("wholeFolder");
        QTest::addColumn<QByteArray>("inItsPlace");
        QTest::newRow("removed") << false << QByteArray();
        QTest::newRow("folder removed") << true << QByteArray();
        QTest::newRow("replaced") << false << QByteArray("something else");
    }

    void listThatIsTakenAwayIsWrittenAnew()
    {
        QFETCH(bool, wholeFolder);
        QFETCH(QByteArray, inItsPlace);
        const QString aside = m_path + ".replaced"_q;
        DownloaderManager manager(EngineFixture::surroundings());
        QVERIFY(addJob(manager) && m_database->Save(manager.records()));
        QVERIFY(wholeFolder ? QDir(m_folder).removeRecursively() : QFile::remove(m_path));
        if (!inItsPlace.isEmpty()) { // it stays, and nothing is saved, while it cannot be put aside
            QVERIFY(writeFile(m_path, inItsPlace) && QFile::link("/nowhere/x"_q, aside));
            QVERIFY(!m_database->Save(manager.records()) && QFile::remove(aside));
        }
        QVERIFY(m_database->Save(manager.records()));
        QCOMPARE(storedJobs(), 1);
        QCOMPARE(readFile(aside), inItsPlace);
    }

    // Whatever has changed: the table is as if it had been written from the beginning, and nothing
    // is written for nothing.
    void savesLeaveWhatARewriteWould()
    {
        QSqlDatabase other = QSqlDatabase::addDatabase("QSQLITE"_q, "other"_q);
        other.setDatabaseName(m_path);
        QVERIFY(other.open());
        QSqlQuery query(other);
        const auto writes = [&] { // changes with every transaction of somebody else
            const bool told = query.exec("PRAGMA data_version"_q) && query.next();
            const int number = told ? query.value(0).toInt() : 0;
            query.finish();
            return number;
        };
        const auto table = [&](const QString &path) {
            QProcess reader;
            reader.start("sqlite3"_q, {"-readonly"_q, path,
                                       "SELECT * FROM video_download; SELECT * FROM "
                                       "source_validator ORDER BY guid"_q});
            return reader.waitForFinished() ? reader.readAllStandardOutput() : QByteArray();
        };
        const QString quick = "PRAGMA synchronous=OFF"_q; // no power is lost here
        QVERIFY(QSqlQuery().exec(quick));
        DownloaderManager manager(EngineFixture::surroundings());
        std::mt19937 random(1);
        for (int action = 0; action < 1000; ++action) {
            const auto records = manager.records();
            JobRecord *record =
                records.empty() ? nullptr
                                : &manager.findJob(records[random() % records.size()]->id)->record;
            const QString text = QString::number(random());
            switch (random() % (record ? 7 : 1)) {
            case 0: {
                auto job = manager.newJob();
                job->record.id = action + 1;
                job->record.guid = text;
                job->record.video_state = JobState::Stopped;
                manager.addLoadedJob(std::move(job));
                break;
            }
            case 1:
                manager.removeJob(record->id, false);
                break;
            case 2:
                record->title = text;
                break;
            case 3:
                record->video_url = text;
                break;
            case 4:
                record->download_bytes += 1;
                record->validator = text.left(int(random() % 2));
                break;
            case 5:
                record->video_state = JobState(random() % 5);
                break;
            case 6:
                if (action % 10 == 0) // another program has its hands in it
                    QVERIFY(query.exec("DELETE FROM video_download WHERE id%2"_q));
            }
            if (random() % 2)
                continue;
            QVERIFY(m_database->Save(manager.records()));
            const int before = writes();
            QVERIFY(m_database->Save(manager.records()));
            QCOMPARE(writes(), before);
            if (action % 40 < 2) {
                const QString path = m_sandbox.path("anew/"_q);
                QDir(path).removeRecursively();
                {
                    m_database.reset();
                    WebDatabase anew(path);
                    QVERIFY(anew.Init() && QSqlQuery().exec(quick) && anew.Save(manager.records()));
                }
                QCOMPARE(table(m_path), table(path + "Task.dat"_q));
                m_database = std::make_unique<WebDatabase>(m_folder);
                DownloaderManager reader(EngineFixture::surroundings());
                QVERIFY(m_database->Init() && readJobs(*m_database, reader));
                QVERIFY(QSqlQuery().exec(quick));
            }
        }
        QVERIFY(manager.jobs().size() > 100);
        query = QSqlQuery();
        other = QSqlDatabase();
        QSqlDatabase::removeDatabase("other"_q);
    }

private:
    static HttpJob *addJob(DownloaderManager &manager)
    {
        auto job = manager.newJob();
        job->record.id = 7;
        job->record.video_state = JobState::Stopped;
        manager.addLoadedJob(std::move(job));
        return manager.findJob(7);
    }

    // By another reader; -1 when there is no list.
    int storedJobs()
    {
        m_database = std::make_unique<WebDatabase>(m_folder);
        DownloaderManager manager(EngineFixture::surroundings());
        return m_database->Init() && readJobs(*m_database, manager) ? int(manager.jobs().size())
                                                                    : -1;
    }

    QString m_folder;
    QString m_path;
    std::unique_ptr<WebDatabase> m_database;
};

REELKEEPER_TEST_MAIN(JobStoreTest)
#include "tst_jobstore.moc"
