#include "httpjob.h"
#include "support.h"
#include "surroundings.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>

#include <unistd.h>

namespace {

const QString Adapter = QStringLiteral(REELKEEPER_BIN "/encoder/ffmpeg.exe");

// The sound alone, as it is: what is measured is the way of the bytes, not a codec.
const char Arguments[] = "-y -i - -vn -acodec copy ";

// A short clip over and over again until the length is reached.
void makeSource(const QString &clip, const QString &source, qint64 size)
{
    const auto ffmpeg = [](const QString &arguments, const QString &target) {
        runTool(QStringLiteral("ffmpeg -v error -nostdin -y %1")
                    .arg(arguments)
                    .split(QLatin1Char(' ')) +
                QStringList(target));
    };
    ffmpeg(QStringLiteral("-f lavfi -i testsrc2=s=1280x720:r=25:d=8,noise=alls=80:allf=t "
                          "-f lavfi -i sine=frequency=440:sample_rate=44100:d=8 "
                          "-c:v flv -b:v 40M -c:a libmp3lame -b:a 128k"),
           clip);
    ffmpeg(QStringLiteral("-stream_loop -1 -i %1 -c copy -fs %2").arg(clip).arg(size), source);
    if (QFileInfo(source).size() < size)
        giveUp(QStringLiteral("the source is too short"));
}

double convertByJob(const BenchServer &server, GapMeter *gaps, double *longestGap)
{
    HttpJob job(testSurroundings({1000, 100}));
    job.init(server.video(QStringLiteral("Conversion"), QStringLiteral("/file")), 1);
    QEventLoop loop;
    QObject::connect(&job, &HttpJob::sigFinished, &loop, &QEventLoop::quit);
    gaps->begin();
    const double wall = milliseconds([&] {
        job.start();
        loop.exec();
    });
    *longestGap = std::max(*longestGap, gaps->end());
    const QString file = job.record.output_name;
    if (job.record.video_state != JobState::Finished || QFileInfo(file).size() == 0)
        giveUp(QStringLiteral("the conversion failed"));
    QFile::remove(file);
    job.remove(true);
    return wall / 1000;
}

} // namespace

// A long source that is downloaded and converted, and the adapter against FFmpeg alone.
int main(int argc, char **argv)
{
    Sandbox sandbox;
    QCoreApplication application(argc, argv);
    const qint64 size = askedSize(application, 1024);
    sandbox.loadOptions();

    const QString source = sandbox.path(QStringLiteral("source.flv"));
    const QString clip = sandbox.path(QStringLiteral("clip.mkv"));
    makeSource(clip, source, size);
    takeOutputFormat(sandbox, QStringLiteral("mp3"), QStringLiteral("-vn -acodec copy"));

    const BenchServer server({source, QStringLiteral("video/x-flv")});
    const QString output = sandbox.path(QStringLiteral("alone.mp3"));
    const auto piped = [&](const QString &encoder, const QString &input) {
        // Read once before, so that the disk is not measured.
        runTool({QStringLiteral("cat"), input});
        return runTool({QStringLiteral("sh"), QStringLiteral("-c"),
                        QStringLiteral("cat '%1' | '%2' %3 '%4'")
                            .arg(input, encoder, QLatin1String(Arguments), output)});
    };
    const qint64 memoryBefore = memoryNow();
    forgetMemoryPeak();
    GapMeter gaps;
    double longestGap = 0;
    QVector<double> wall;
    for (int run = 0; run < Runs; ++run)
        wall += convertByJob(server, &gaps, &longestGap);
    const qint64 memoryAdded = memoryPeak() - memoryBefore;

    // A short input shows what the adapter costs however long the video is: its start and the look
    // at the result.
    QVector<double> alone;
    QVector<double> wallOver;
    QVector<double> wallAdded;
    QVector<double> fixed;
    for (int run = 0; run < Runs; ++run) {
        alone += piped(QStringLiteral("ffmpeg"), source).wall;
        wallAdded += 1000 * (piped(Adapter, source).wall - alone.last());
        wallOver += wallAdded.last() / alone.last() / 10;
        const double shortAlone = piped(QStringLiteral("ffmpeg"), clip).wall;
        fixed += 1000 * (piped(Adapter, clip).wall - shortAlone);
    }

    const QString what = QStringLiteral("Conversion of %1 MiB: ").arg(size / MiB);
    printRow(what + QStringLiteral("download and conversion, wall time"), median(wall),
             QStringLiteral("s"));
    printRow(what + QStringLiteral("memory added"), double(memoryAdded) / MiB,
             QStringLiteral("MiB"), 48);
    printRow(what + QStringLiteral("longest event-loop gap"), longestGap, QStringLiteral("ms"),
             100);
    printRow(what + QStringLiteral("FFmpeg alone from a pipe, wall time"), median(alone),
             QStringLiteral("s"));
    printRow(what + QStringLiteral("adapter over FFmpeg alone, wall time"), median(wallOver),
             QStringLiteral("%"), 3);
    printRow(what + QStringLiteral("adapter over FFmpeg alone, added"), median(wallAdded),
             QStringLiteral("ms"));
    printRow(what + QStringLiteral("of it whatever the length, added"), median(fixed),
             QStringLiteral("ms"));
    return 0;
}
