#include "downloadermanager.h"
#include "jobsaver.h"
#include "support.h"
#include "surroundings.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QTimer>

#include <unistd.h>

namespace {

constexpr int Streams = 50;
constexpr qint64 StreamSize = 20 * MiB;
constexpr int SampleInterval = 20; // milliseconds

struct Use
{
    double longestGap = 0;
    qint64 threads = 0;
    qint64 memory = 0;
};

double fetchByJobs(const BenchServer &server, const QString &folder, Use *use)
{
    DownloaderManager manager(testSurroundings({1000, 100}));
    ListOnThread list(folder);
    if (!list.opened)
        giveUp(QStringLiteral("no job database"));
    JobSaver saver(manager, *list.database, list.storage);
    QObject::connect(&manager, &DownloaderManager::sigJobsChanged, &saver, &JobSaver::saveSoon);
    QEventLoop loop;
    QObject::connect(&manager, &DownloaderManager::sigAllFinished, &loop, &QEventLoop::quit);
    QTimer sampler;
    const qint64 threadsBefore = statusValue("Threads");
    const qint64 memoryBefore = memoryNow();
    forgetMemoryPeak();
    QObject::connect(&sampler, &QTimer::timeout, [&] {
        use->threads = std::max(use->threads, statusValue("Threads") - threadsBefore);
    });
    sampler.start(SampleInterval);
    GapMeter gaps;
    gaps.begin();
    const double wall = milliseconds([&] {
        for (int i = 0; i < Streams; ++i)
            manager.addJob(
                server.video(QStringLiteral("Clip %1").arg(i), server.streamPath(StreamSize)));
        loop.exec();
    });
    use->longestGap = std::max(use->longestGap, gaps.end());
    use->memory = std::max(use->memory, memoryPeak() - memoryBefore);
    for (const auto &job : manager.jobs()) {
        const QString file = job->record.output_name;
        if (job->record.video_state != JobState::Finished || !holdsPattern(file, StreamSize))
            giveUp(QStringLiteral("a file is not what the server sent"));
        QFile::remove(file);
    }
    return wall / 1000;
}

} // namespace

// Many streams at once by the manager, and by aria2 with as many at a time, in turn.
int main(int argc, char **argv)
{
    Sandbox sandbox;
    QCoreApplication application(argc, argv);
    sandbox.loadOptions();
    const BenchServer server;

    const QString folder = sandbox.path(QStringLiteral("fetched"));
    const QString list = sandbox.path(QStringLiteral("list"));
    QByteArray lines;
    for (int i = 0; i < Streams; ++i)
        lines += server.url(server.streamPath(StreamSize)).toLatin1() + "\n out=clip" +
                 QByteArray::number(i) + '\n';
    writeFile(list, lines);
    const QStringList aria = {QStringLiteral("aria2c"),
                              QStringLiteral("--no-conf"),
                              QStringLiteral("-q"),
                              QStringLiteral("-x1"),
                              QStringLiteral("-j%1").arg(Streams),
                              QStringLiteral("--file-allocation=none"),
                              QStringLiteral("-d"),
                              folder,
                              QStringLiteral("-i"),
                              list};

    QVector<double> wall;
    QVector<double> toolWall;
    QVector<double> ratios;
    Use use;
    for (int run = 0; run < Runs; ++run) {
        sync();
        wall += fetchByJobs(server, sandbox.path(QStringLiteral("list%1/").arg(run)), &use);
        if (!haveTool(aria.first()))
            continue;
        sync();
        toolWall += runTool(aria).wall;
        ratios += wall.last() / toolWall.last();
        QDir(folder).removeRecursively();
    }

    const QString what =
        QStringLiteral("%1 streams of %2 MiB: ").arg(Streams).arg(StreamSize / MiB);
    printRow(what + QStringLiteral("Reelkeeper, wall time"), median(wall), QStringLiteral("s"));
    if (!toolWall.isEmpty()) {
        printRow(what + QStringLiteral("aria2c, wall time"), median(toolWall), QStringLiteral("s"));
        printRow(what + QStringLiteral("wall time against aria2c"), median(ratios), QString());
    }
    printRow(what + QStringLiteral("threads per job"), double(use.threads) / Streams, QString());
    printRow(what + QStringLiteral("memory added per job"), double(use.memory) / Streams / MiB,
             QStringLiteral("MiB"));
    printRow(what + QStringLiteral("longest event-loop gap"), use.longestGap, QStringLiteral("ms"),
             16);
    return 0;
}
