#include "downloadermanager.h"
#include "enginefixture.h"
#include "literals.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "samples.h"
#include "soak.h"
#include "surroundings.h"
#include "webdatabase.h"

#include <QDirIterator>
#include <QProcess>
#include <QSet>
#include <QtTest>

#include <csignal>
#include <random>

namespace {

constexpr int unfinishedJobs = 5;
constexpr int keptJobs = 10;   // finished ones that stay in the list
constexpr int endWait = 30000; // milliseconds

class ProcessSoak final
{
public:
    ProcessSoak(Sandbox &sandbox, unsigned seed)
        : m_sandbox(sandbox)
        , m_site(sandbox)
        , m_random(seed)
    {
        m_site.server.setHandler("/stream", [](const HttpRequest &request) {
            return EngineFixture::stream(request.target.split('=').last().toLongLong(), 1500000);
        });
        HttpResponse video = EngineFixture::stream(-1, 400000);
        video.file = samplePath(Sample::Flv);
        video.contentType = "video/x-flv";
        m_site.server.setResponse("/video", video);
        qputenv("REELKEEPER_UPDATE_HOST", "127.0.0.1:" + QByteArray::number(m_site.server.port()));
    }

    bool run(int rounds)
    {
        bool ok = inspect(true);
        for (int round = 0; ok && round < rounds; ++round) {
            const int signal = m_random() % 2 ? SIGKILL : SIGTERM;
            start();
            // Some rounds are long enough for a conversion.
            m_program.waitForFinished(200 + int(m_random() % (round % 4 == 0 ? 6000 : 1500)));
            ok = end(signal) && inspect(round + 1 < rounds);
        }
        if (!ok)
            return false;
        start();
        const bool done = QTest::qWaitFor([&] { return allStoredFinished(); }, 120000);
        ok = end(SIGTERM) && inspect(false) && done && nothingElseInTheWay();
        printf("process: %d ends by SIGKILL, %d by SIGTERM, %d jobs, %d files as their streams, "
               "%d converted, %d finished twice\n",
               m_kills, m_terminations, m_nextId - 1, m_identical, m_converted, m_twice);
        return ok;
    }

private:
    void start() { m_program.start(QStringLiteral(PROGRAM), {}, QIODevice::NotOpen); }

    bool end(int signal)
    {
        if (m_program.state() == QProcess::NotRunning)
            return fail("it ended by itself, %1, %2"_q.arg(m_program.exitCode())
                            .arg(m_program.errorString()));
        ++(signal == SIGKILL ? m_kills : m_terminations);
        kill(pid_t(m_program.processId()), signal);
        if (!m_program.waitForFinished(endWait))
            return fail("it does not end");
        const bool byItself = m_program.exitStatus() == QProcess::NormalExit;
        // A signal may come before main() is reached.
        if (byItself ? m_program.exitCode() != 0 : m_program.exitCode() != signal)
            return fail("it ended with %1"_q.arg(m_program.exitCode()));
        return QTest::qWaitFor([this] { return !encoderRuns(); }) || fail("an encoder is left");
    }

    // What the next start would find; adds jobs for it.
    bool inspect(bool more)
    {
        if (!WebDatabase::instance()->Init())
            return fail("the list cannot be opened");
        DownloaderManager manager(testSurroundings());
        if (!WebDatabase::instance()->Read(&manager) ||
            QFile::exists(Options::instance()->appDataPath() + "Task.dat.damaged"_q))
            return fail("the list is damaged");
        int unfinished = 0;
        const QList<int> ids = m_sizes.keys();
        for (const int id : ids) {
            const HttpJob *job = manager.findJob(id);
            if (!job)
                return fail("job %1 is lost"_q.arg(id));
            const JobRecord &record = job->record;
            if (record.video_state == JobState::Start) {
                ++unfinished;
                continue;
            }
            if (record.video_state != JobState::Finished || !isGood(record))
                return fail(
                    "job %1 is %2, %3"_q.arg(id).arg(record.stateText(), record.output_name));
            if (ids.size() - unfinished > keptJobs && manager.removeJob(id, true))
                m_sizes.remove(id);
        }
        for (; more && unfinished < unfinishedJobs; ++unfinished)
            add(manager);
        return true;
    }

    void add(DownloaderManager &manager)
    {
        VideoInfo info = m_site.info("Clip %1"_q.arg(m_nextId));
        const bool converts = m_nextId % 4 == 0;
        qint64 size = 1 + m_random() % 3000000;
        info.streams[0].videoAddress += "?size=%1"_q.arg(size);
        if (converts) {
            size = 0;
            info.streams[0].videoAddress = m_site.server.url("/video"_q);
        }
        auto job = manager.newJob();
        job->init(info, m_nextId);
        job->record.output_format = converts ? m_format : 0;
        if (m_nextId % 4 == 1) { // complete, but its end was never heard of
            job->record.video_mame =
                Options::instance()->outputFolder + job->record.guid + ".mp4"_q;
            writeFile(job->record.video_mame, pattern(0, size));
            job->record.download_bytes = size;
            job->record.total_bytes = size;
        }
        m_sizes.insert(m_nextId++, size);
        manager.addLoadedJob(std::move(job));
    }

    bool isGood(const JobRecord &record)
    {
        const qint64 size = m_sizes.value(record.id);
        if (!m_checked.contains(record.id))
            ++(size > 0 ? m_identical : m_converted);
        m_checked.insert(record.id);
        if (size > 0)
            return isPattern(record.output_name, size);
        QProcess decoder;
        decoder.start("ffmpeg"_q, {"-v"_q, "error"_q, "-i"_q, record.output_name, "-f"_q, "null"_q,
                                   "-t"_q, "9"_q, "-"_q});
        return decoder.waitForFinished() && decoder.exitCode() == 0 &&
               decoder.readAllStandardError().isEmpty();
    }

    bool allStoredFinished() const
    {
        QTest::qWait(500);
        QProcess query;
        query.start("sqlite3"_q, {"-readonly"_q, Options::instance()->appDataPath() + "Task.dat"_q,
                                  "select count(*) from video_download where id>0 and "
                                  "video_state<>3"_q});
        return query.waitForFinished() && query.readAll().trimmed() == "0";
    }

    bool encoderRuns() const
    {
        QDirIterator processes("/proc"_q, QDir::Dirs);
        while (processes.hasNext()) {
            const QByteArray command = readFile(processes.next() + "/cmdline"_q);
            if (command.contains(QFile::encodeName(m_sandbox.outputFolder())))
                return true;
        }
        return false;
    }

    // A run that dies between the renaming of a finished file and the save leaves the file to a
    // second download: complete, under its title. Nothing else may be left.
    bool nothingElseInTheWay()
    {
        m_twice = m_site.outputFiles().size() - m_sizes.size();
        for (const QString &name : m_site.outputFiles()) {
            if (!name.startsWith("Clip "_q))
                return fail("left behind: %1"_q.arg(name));
        }
        return true;
    }

    static bool fail(const QString &what)
    {
        qCritical("%s", qPrintable(what));
        return false;
    }
    static bool fail(const char *what) { return fail(QLatin1String(what)); }

    Sandbox &m_sandbox;
    EngineFixture m_site;
    std::mt19937 m_random;
    QProcess m_program;
    QHash<int, qint64> m_sizes; // bytes of the stream by job; 0 for a job that converts
    QSet<int> m_checked;
    int m_format = 100; // MP4
    int m_nextId = 1;
    int m_kills = 0;
    int m_terminations = 0;
    int m_identical = 0;
    int m_converted = 0;
    int m_twice = 0;
};

} // namespace

bool soakProcess(Sandbox &sandbox, int rounds, unsigned seed)
{
    return ProcessSoak(sandbox, seed).run(rounds);
}
