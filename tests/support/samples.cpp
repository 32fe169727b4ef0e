#include "samples.h"

#include "literals.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QLockFile>
#include <QProcess>

namespace {
const int makeTimeout = 60000;

QStringList arguments(Sample sample, const QString &target)
{
    QString all =
        QStringLiteral("-v error -nostdin -y -threads 2 -f lavfi -i testsrc2=s=640x360:r=25:d=3 "
                       "-f lavfi -i sine=frequency=440:sample_rate=44100:d=3 "
                       "-c:v libx264 -preset ultrafast -pix_fmt yuv420p -b:v 600k ");
    all +=
        sample == Sample::Flv ? "-c:a libmp3lame -b:a 96k -f flv"_q : "-c:a aac -b:a 96k -f mp4"_q;
    if (sample == Sample::Mp4IndexFirst)
        all += " -movflags +faststart"_q;
    return all.split(QLatin1Char(' '), Qt::SkipEmptyParts) << target;
}
} // namespace

QString samplePath(Sample sample)
{
    const QString folder = QCoreApplication::applicationDirPath() + "/samples/"_q;
    const QString names[] = {"sample.flv"_q, "index-first.mp4"_q, "index-last.mp4"_q};
    const QString path = folder + names[int(sample)];
    if (QFile::exists(path))
        return path;
    if (!QDir().mkpath(folder))
        return QString();
    QLockFile lock(path + ".lock"_q);
    lock.setStaleLockTime(2 * makeTimeout);
    if (!lock.tryLock(2 * makeTimeout))
        return QString();
    if (QFile::exists(path))
        return path;
    QProcess ffmpeg;
    ffmpeg.setProcessChannelMode(QProcess::ForwardedChannels);
    const QString unfinished = path + ".part"_q;
    ffmpeg.start(qEnvironmentVariable("REELKEEPER_FFMPEG", "ffmpeg"_q),
                 arguments(sample, unfinished));
    const bool ended = ffmpeg.waitForFinished(makeTimeout);
    if (!ended || ffmpeg.exitStatus() != QProcess::NormalExit || ffmpeg.exitCode() != 0 ||
        !QFile::rename(unfinished, path)) {
        QFile::remove(unfinished);
        return QString();
    }
    return path;
}
