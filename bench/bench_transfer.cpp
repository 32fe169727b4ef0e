#include "httpjob.h"
#include "support.h"
#include "surroundings.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QStorageInfo>

#include <memory>
#include <unistd.h>

namespace {

struct Tool
{
    QString name;
    QStringList command; // the target and the address follow
    QVector<double> wall;
    QVector<double> processor;
};

// One stream through a job, as the program fetches it.
Cost fetchByJob(const BenchServer &server, qint64 size, GapMeter *gaps, double *longestGap)
{
    HttpJob job(testSurroundings({1000, 100}));
    job.init(server.video(QStringLiteral("Transfer"), server.streamPath(size)), 1);
    QEventLoop loop;
    QObject::connect(&job, &HttpJob::sigFinished, &loop, &QEventLoop::quit);
    const double before = processorSeconds();
    gaps->begin();
    const double wall = milliseconds([&] {
        job.start();
        loop.exec();
    });
    *longestGap = std::max(*longestGap, gaps->end());
    const Cost cost{wall / 1000, processorSeconds() - before};
    const QString file = job.record.output_name;
    if (job.record.video_state != JobState::Finished || !holdsPattern(file, size))
        giveUp(QStringLiteral("the file is not what the server sent"));
    QFile::remove(file);
    return cost;
}

// Pages that a removed file gave back may have to be fetched again from whoever lends this machine
// its memory, and the first to write pays. So every run comes right after a file of that length.
void levelGround(const QString &path, qint64 size)
{
    QFile file(path);
    bool written = file.open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    const QByteArray block(MiB, 'g');
    for (qint64 at = 0; written && at < size; at += block.size())
        written = file.write(block) == block.size();
    file.close();
    if (!written || !file.remove())
        giveUp(QStringLiteral("there is no room for ") + path);
}

} // namespace

// One long stream by a job, and by what people would use instead, in turn.
int main(int argc, char **argv)
{
    Sandbox sandbox;
    QCoreApplication application(argc, argv);
    const qint64 size = askedSize(application, 2048);
    sandbox.loadOptions();

    const QString file = sandbox.path(QStringLiteral("fetched"));
    QVector<Tool> tools = {
        {QStringLiteral("curl"), {QStringLiteral("-sfo"), file}, {}, {}},
        {QStringLiteral("wget"), {QStringLiteral("-qO"), file}, {}, {}},
        {QStringLiteral("aria2c"),
         {QStringLiteral("--no-conf"), QStringLiteral("-q"), QStringLiteral("-x1"),
          QStringLiteral("--file-allocation=none"), QStringLiteral("-d"), sandbox.path(),
          QStringLiteral("-o"), QStringLiteral("fetched")},
         {},
         {}},
    };
    const BenchServer server;
    const QString address = server.url(server.streamPath(size));
    const qint64 memoryBefore = memoryNow();
    forgetMemoryPeak();
    GapMeter gaps;
    double longestGap = 0;
    Tool own{QStringLiteral("Reelkeeper"), {}, {}, {}};
    for (int run = 0; run < Runs; ++run) {
        levelGround(file, size);
        const Cost cost = fetchByJob(server, size, &gaps, &longestGap);
        own.wall += cost.wall;
        own.processor += cost.processor;
        for (Tool &tool : tools) {
            if (!haveTool(tool.name))
                continue;
            levelGround(file, size);
            const Cost toolCost =
                runTool(QStringList(tool.name) + tool.command + QStringList(address));
            tool.wall += toolCost.wall;
            tool.processor += toolCost.processor;
            QFile::remove(file);
        }
    }
    const qint64 memoryAdded = memoryPeak() - memoryBefore;

    const QString what = QStringLiteral("Stream of %1 MiB: ").arg(size / MiB);
    printNote(what + QStringLiteral("file system"),
              QString::fromLatin1(QStorageInfo(sandbox.path()).fileSystemType()));
    const QString second = QStringLiteral("s");
    tools.prepend(own);
    for (const Tool &tool : tools) {
        if (tool.wall.isEmpty())
            continue;
        printRow(what + tool.name + QStringLiteral(", wall time"), median(tool.wall), second);
        printRow(what + tool.name + QStringLiteral(", processor time"), median(tool.processor),
                 second);
    }
    QVector<double> wallRatios;
    QVector<double> processorRatios;
    for (int run = 0; run < tools.at(1).wall.size(); ++run) {
        wallRatios += own.wall.at(run) / tools.at(1).wall.at(run);
        processorRatios += own.processor.at(run) / tools.at(1).processor.at(run);
    }
    printRow(what + QStringLiteral("wall time against curl"), median(wallRatios), QString(), 0.7);
    printRow(what + QStringLiteral("processor time against curl"), median(processorRatios),
             QString(), 1);
    printRow(what + QStringLiteral("memory added"), double(memoryAdded) / MiB,
             QStringLiteral("MiB"), 24);
    printRow(what + QStringLiteral("longest event-loop gap"), longestGap, QStringLiteral("ms"), 50);
    return 0;
}
