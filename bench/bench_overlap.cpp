#include "httpjob.h"
#include "support.h"
#include "surroundings.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QTimer>

namespace {

constexpr int Rounds = 3;
constexpr double Slowness = 2.2; // the slow stream takes that many times as long as FFmpeg alone
const QString Encoding = QStringLiteral("-vcodec libx264 -preset veryfast -acodec aac");

double ffmpegSeconds(const QString &arguments, const QString &target)
{
    const QString line = QStringLiteral("ffmpeg -v error -nostdin -y ") + arguments;
    return runTool(line.split(QLatin1Char(' ')) + QStringList(target)).wall;
}

struct Run
{
    double whole = 0;         // seconds from the start to the finished file
    double afterLastByte = 0; // seconds of it
};

Run convertByJob(const BenchServer &server, const QString &path, GapMeter *gaps, double *longestGap)
{
    HttpJob job(testSurroundings({1000, 100}));
    job.init(server.video(QStringLiteral("Overlap"), path), 1);
    QEventLoop loop;
    QObject::connect(&job, &HttpJob::sigFinished, &loop, &QEventLoop::quit);
    QElapsedTimer clock;
    Run run;
    double lastByte = 0;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, [&] {
        if (lastByte == 0 && job.record.download_bytes == job.record.total_bytes)
            lastByte = double(clock.nsecsElapsed()) / 1e9;
    });
    look.start(5);
    gaps->begin();
    clock.start();
    job.start();
    loop.exec();
    run.whole = double(clock.nsecsElapsed()) / 1e9;
    run.afterLastByte = run.whole - lastByte;
    *longestGap = std::max(*longestGap, gaps->end());
    const QString file = job.record.output_name;
    if (job.record.video_state != JobState::Finished || lastByte == 0)
        giveUp(QStringLiteral("the conversion failed"));
    QFile::remove(file);
    return run;
}

} // namespace

// A video that arrives slower than it can be converted is finished soon after its last byte; one
// that arrives at once takes hardly longer than the encoder does for the same file.
int main(int argc, char **argv)
{
    Sandbox sandbox;
    QCoreApplication application(argc, argv);
    sandbox.loadOptions();

    const QString source = sandbox.path(QStringLiteral("source.flv"));
    // A mebibyte a second.
    ffmpegSeconds(QStringLiteral("-f lavfi -i testsrc2=s=1280x720:r=25:d=%1,noise=alls=20:allf=t "
                                 "-f lavfi -i sine=frequency=440:sample_rate=44100:d=%1 "
                                 "-c:v libx264 -preset ultrafast -b:v 8M -c:a aac")
                      .arg(askedSize(application, 20) / MiB),
                  source);
    takeOutputFormat(sandbox, QStringLiteral("mp4"), Encoding);

    const QString arguments = QStringLiteral("-i %1 %2").arg(source, Encoding);
    const auto alone = [&] {
        return ffmpegSeconds(arguments, sandbox.path(QStringLiteral("alone.mp4")));
    };
    const qint64 size = QFileInfo(source).size();
    const qint64 rate = qint64(double(size) / (Slowness * alone()));
    const BenchServer server({source, QStringLiteral("video/x-flv"), QString::number(rate)});
    GapMeter gaps;
    double longestGap = 0;
    QVector<double> aloneTimes;
    QVector<double> wholeRatios;
    QVector<double> shares;
    QVector<double> slowTimes;
    for (int round = 0; round < Rounds; ++round) {
        aloneTimes += alone();
        const Run quick = convertByJob(server, QStringLiteral("/file"), &gaps, &longestGap);
        const Run slow = convertByJob(server, QStringLiteral("/slow"), &gaps, &longestGap);
        wholeRatios += quick.whole / aloneTimes.last();
        shares += 100 * slow.afterLastByte / aloneTimes.last();
        slowTimes += slow.whole;
    }

    const QString what = QStringLiteral("Conversion of %1 MiB as it arrives: ").arg(size / MiB);
    const QString second = QStringLiteral("s");
    printRow(what + QStringLiteral("FFmpeg alone from the file"), median(aloneTimes), second);
    printRow(what + QStringLiteral("stream without a limit, against FFmpeg alone"),
             median(wholeRatios), QString(), 1.1);
    printRow(what + QStringLiteral("slow stream, wall time"), median(slowTimes), second);
    printRow(what + QStringLiteral("slow stream, after the last byte, of FFmpeg's own time"),
             median(shares), QStringLiteral("%"), 15);
    printRow(what + QStringLiteral("longest event-loop gap"), longestGap, QStringLiteral("ms"),
             100);
    return 0;
}
