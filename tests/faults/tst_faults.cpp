#include "enginefixture.h"
#include "literals.h"
#include "surroundings.h"

#include <QSqlQuery>

#include <sys/resource.h>

#include <csignal>
#include <random>
#include <unistd.h>

namespace {

constexpr qint64 size = 300000;
constexpr qint64 half = 150000;

// While it lives no file of this process may grow beyond that size, as on a full disk.
class FullDisk final
{
public:
    explicit FullDisk(rlim_t bytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk() { setrlimit(RLIMIT_FSIZE, &m_before); }

private:
    rlimit m_before{};
};

// While it lives permissions count, also when the test is run by root.
class Unprivileged final
{
public:
    Unprivileged() { m_changed = m_before == 0 && seteuid(65534) == 0; }
    ~Unprivileged()
    {
        if (m_changed && seteuid(m_before) != 0)
            abort();
    }

private:
    uid_t m_before = geteuid();
    bool m_changed = false;
};

} // namespace

class FaultsTest final : public EngineTest
{
    Q_OBJECT

public:
    using EngineTest::EngineTest;

private slots:
    void init()
    {
        m_sandbox.loadOptions(true);
        m_site.clear();
        QDir(m_folder).removeRecursively();
        m_database = std::make_unique<WebDatabase>(m_folder);
    }
    void cleanup() { m_database.reset(); }

    void silentServer_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<qint64>("stallAfter"); // -1: before the head
        QTest::newRow("cookies") << QByteArray("/watch") << -1LL;
        QTest::newRow("stream") << QByteArray("/stream") << -1LL;
        QTest::newRow("in the stream") << QByteArray("/stream") << half;
    }

    void silentServer()
    {
        QFETCH(QByteArray, path);
        QFETCH(qint64, stallAfter);
        const HttpResponse whole = EngineFixture::stream(size);
        m_site.server.setResponse("/stream", whole);
        HttpResponse silent = whole;
        silent.stallAfter = stallAfter;
        silent.stallBeforeHeaders = stallAfter < 0;
        m_site.server.setResponses(path, {silent, path == "/watch" ? m_site.page() : whole});
        HttpJob job(testSurroundings({30, 5, 200}));
        job.init(m_site.info(), 1);
        job.start();
        QTRY_COMPARE(job.record.video_state, JobState::Finished);
        QVERIFY(isPattern(job.record.output_name, size));
        QVERIFY(m_sandbox.logLines().contains("Download:Failed(restart 0 times)"_q));
    }

    void slowIsNotSilent()
    {
        m_site.server.setResponse("/stream", EngineFixture::stream(9000, 9000));
        HttpJob job(testSurroundings({30, 5, 400}));
        job.init(m_site.info(), 1);
        job.start();
        QTRY_COMPARE(job.record.video_state, JobState::Finished);
        QVERIFY(isPattern(job.record.output_name, 9000));
        QCOMPARE(m_site.server.requests("/stream").size(), 1);
    }

    void sourceDeletedBehindTheTransfer()
    {
        m_site.server.setResponses(
            "/stream", {EngineFixture::stream(size, 600000), EngineFixture::stream(size)});
        const auto job = m_site.newJob();
        job->start();
        QTRY_VERIFY(job->record.download_bytes > 1000);
        QVERIFY(QFile::remove(job->record.video_mame));
        QTRY_COMPARE(job->record.video_state, JobState::Finished);
        QVERIFY(isPattern(job->record.output_name, size));
    }

    void fullDisk()
    {
        HttpResponse endless = EngineFixture::stream(size);
        endless.stallAfter = size - 1; // the first write that fails ends the transfer
        m_site.server.setResponse("/stream", endless);
        QVERIFY(m_database->Init());
        DownloaderManager manager(testSurroundings());
        addStoredJobs(&manager, 10);
        QVERIFY(m_database->Save(manager.records()));
        const auto job = m_site.newJob();
        {
            const FullDisk full(half);
            job->record.spend_time = 1000; // of an attempt before
            job->start();
            QTRY_COMPARE(job->record.video_state, JobState::Errored);
            QVERIFY(job->record.spend_time == 0);
            QVERIFY(m_sandbox.logLines().contains("Download:Error(1003)"_q));
            QCOMPARE(m_site.outputFiles(), QStringList());
            addStoredJobs(&manager, 400);
            QVERIFY(!m_database->Save(manager.records()));
            QCOMPARE(storedIds().size(), 10);
        }
        m_site.server.setResponse("/stream", EngineFixture::stream(size));
        job->start();
        QTRY_COMPARE(job->record.video_state, JobState::Finished);
        QVERIFY(isPattern(job->record.output_name, size));
        QVERIFY(m_database->Save(manager.records()));
    }

    void lockedJobList()
    {
        const QByteArray before = storeJobs(20);
        {
            QSqlDatabase other = QSqlDatabase::addDatabase("QSQLITE"_q, "other"_q);
            other.setDatabaseName(m_path);
            QVERIFY(other.open() && QSqlQuery(other).exec("BEGIN EXCLUSIVE"_q));
            QVERIFY(!m_database->Init());
            QVERIFY(!m_database->Recreate());
            other.close();
        }
        QSqlDatabase::removeDatabase("other"_q);
        QCOMPARE(readFile(m_path), before);
        QCOMPARE(storedIds().size(), 20);
    }

    void forbiddenJobList_data()
    {
        QTest::addColumn<bool>("readable");
        QTest::newRow("read-only") << true;
        QTest::newRow("not readable") << false;
    }

    void forbiddenJobList()
    {
        QFETCH(bool, readable);
        const QByteArray before = storeJobs(20);
        const auto some = QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther;
        QVERIFY(QFile::setPermissions(m_path, readable ? some : QFile::Permissions()));
        for (QDir dir(QFileInfo(m_path).path()); dir.path().startsWith(m_sandbox.path());
             dir.setPath(QFileInfo(dir.path()).path()))
            QVERIFY(QFile::setPermissions(dir.path(), some | QFile::ExeOwner | QFile::WriteOwner |
                                                          QFile::ExeGroup | QFile::ExeOther));
        {
            const Unprivileged user;
            QCOMPARE(m_database->Init(), readable);
            DownloaderManager manager(testSurroundings());
            QCOMPARE(readJobs(*m_database, manager), readable);
            QCOMPARE(manager.jobs().size(), std::size_t(readable ? 20 : 0));
            addStoredJobs(&manager, 1);
            QVERIFY(!m_database->Save(manager.records()));
        }
        QVERIFY(QFile::setPermissions(m_path, QFile::ReadOwner | QFile::WriteOwner));
        QCOMPARE(readFile(m_path), before);
        QCOMPARE(storedIds().size(), 20);
    }

    void readOnlyOutputFolder()
    {
        const auto readable = QFile::ReadOwner | QFile::ExeOwner | QFile::ReadGroup |
                              QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther;
        QVERIFY(QFile::setPermissions(m_sandbox.path(), readable | QFile::WriteOwner));
        QVERIFY(QFile::setPermissions(m_sandbox.outputFolder(), readable));
        m_site.server.setResponse("/stream", EngineFixture::stream(1000));
        const auto job = m_site.newJob();
        {
            const Unprivileged user;
            job->start();
            QTRY_COMPARE(job->record.video_state, JobState::Errored);
        }
        QVERIFY(QFile::setPermissions(m_sandbox.outputFolder(), readable | QFile::WriteOwner));
        QCOMPARE(m_site.outputFiles(), QStringList());
        job->start();
        QTRY_COMPARE(job->record.video_state, JobState::Finished);
    }

    // Either every job is still there, or the whole file is, beside a list that works.
    void damagedJobList_data()
    {
        QTest::addColumn<bool>("truncated");
        QTest::newRow("truncated at every page") << true;
        QTest::newRow("noise in every page") << false;
    }

    void damagedJobList()
    {
        QFETCH(bool, truncated);
        constexpr int pageSize = 4096;
        const QByteArray intact = storeJobs(120);
        QVERIFY(intact.size() > 8 * pageSize);
        std::mt19937 random(1);
        for (int at = 0; at < intact.size(); at += pageSize) {
            m_database = std::make_unique<WebDatabase>(m_folder);
            QByteArray damaged = truncated ? intact.left(at) : intact;
            for (int i = 0; !truncated && i < 200; ++i)
                damaged[at + int(random() % pageSize)] = char(random());
            QVERIFY(writeFile(m_path, damaged));
            QVERIFY(m_database->Init());
            DownloaderManager manager(testSurroundings());
            if (!readJobs(*m_database, manager))
                QVERIFY(m_database->Recreate());
            QVERIFY(m_database->Save(manager.records()));
            const QString aside = m_path + ".damaged"_q;
            if (QFile::exists(aside))
                QCOMPARE(readFile(aside), damaged);
            else if (truncated)
                QCOMPARE(manager.jobs().size(), std::size_t(120));
            QFile::remove(aside);
            QCOMPARE(storedIds().size(), int(manager.jobs().size()));
        }
    }

private:
    void addStoredJobs(DownloaderManager *manager, int count) const
    {
        const int first = int(manager->jobs().size()) + 1;
        for (int i = 0; i < count; ++i) {
            auto job = manager->newJob();
            job->init(m_site.info(QString(300, QLatin1Char('t'))), first + i);
            job->record.video_state = JobState::Stopped;
            manager->addLoadedJob(std::move(job));
        }
    }

    // Leaves a closed file with that many jobs, and hands out its bytes.
    QByteArray storeJobs(int count) const
    {
        WebDatabase database(m_folder);
        DownloaderManager manager(testSurroundings());
        addStoredJobs(&manager, count);
        if (!database.Init() || !database.Save(manager.records()))
            return QByteArray();
        return readFile(m_path);
    }

    QList<int> storedIds() const
    {
        QList<int> ids;
        {
            QSqlDatabase other = QSqlDatabase::addDatabase("QSQLITE"_q, "other"_q);
            other.setDatabaseName(m_path);
            other.open();
            QSqlQuery query("SELECT id FROM video_download"_q, other);
            query.next(); // the version row
            while (query.next())
                ids << query.value(0).toInt();
        }
        QSqlDatabase::removeDatabase("other"_q);
        return ids;
    }

    const QString m_folder = m_sandbox.path("list/"_q);
    const QString m_path = m_folder + "Task.dat"_q;
    std::unique_ptr<WebDatabase> m_database;
};

REELKEEPER_TEST_MAIN(FaultsTest)
#include "tst_faults.moc"
