#include "demovideos.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QProcess>

namespace {
const int frameRate = 25;
const int makeTimeout = 120000; // milliseconds, of one file
const int lockTimeout = 300000;

DemoStream mp4(int itag, const QString &file, int width, int height, int videoKilobits,
               bool indexFirst = true)
{
    return {itag,
            file,
            QByteArrayLiteral("video/mp4"),
            QStringLiteral("avc1.42C01E, mp4a.40.2"),
            width,
            height,
            videoKilobits,
            indexFirst};
}

DemoStream flv(int itag, const QString &file, int width, int height, int videoKilobits)
{
    DemoStream stream = mp4(itag, file, width, height, videoKilobits, false);
    stream.contentType = QByteArrayLiteral("video/x-flv");
    return stream;
}

DemoStream freeFormat(int itag, const QString &file, const QByteArray &type, const QString &codecs)
{
    return {itag, file, type, codecs, 320, 180, 250, false};
}

// Codecs and container; the quick ways, because these are made before the site is there.
QString formatArguments(const QByteArray &contentType)
{
    if (contentType == "video/webm")
        return QStringLiteral("-c:v libvpx -deadline realtime -cpu-used 16 -static-thresh 1000 "
                              "-c:a libvorbis -f webm");
    if (contentType == "video/ogg")
        return QStringLiteral("-c:v libtheora -c:a libvorbis -f ogg");
    return QStringLiteral("-c:v libx264 -preset ultrafast -c:a aac -f ") +
           (contentType == "video/mp4" ? QStringLiteral("mp4") : QStringLiteral("flv"));
}

QStringList ffmpegArguments(const DemoVideo &video, const DemoStream &stream, const QString &target)
{
    QStringList arguments =
        QStringLiteral("-v error -nostdin -y -threads 2 "
                       "-f lavfi -i testsrc2=s=%1x%2:r=%3:d=%4 "
                       "-f lavfi -i sine=frequency=330:beep_factor=4:sample_rate=44100:d=%4 "
                       "-threads 2 -pix_fmt yuv420p -g 50 "
                       "-b:v %5k -maxrate %5k -bufsize %5k -b:a 96k %6")
            .arg(stream.width)
            .arg(stream.height)
            .arg(frameRate)
            .arg(video.seconds)
            .arg(stream.videoKilobits)
            .arg(formatArguments(stream.contentType))
            .split(QLatin1Char(' '));
    if (stream.indexFirst)
        arguments << QStringLiteral("-movflags") << QStringLiteral("+faststart");
    return arguments << target;
}

QString makeStream(const DemoVideo &video, const DemoStream &stream, const QDir &folder)
{
    const QString program = qEnvironmentVariable("REELKEEPER_FFMPEG", QStringLiteral("ffmpeg"));
    const QString unfinished = folder.filePath(stream.file + QStringLiteral(".part"));
    QProcess ffmpeg;
    ffmpeg.start(program, ffmpegArguments(video, stream, unfinished));
    if (!ffmpeg.waitForStarted()) {
        return QStringLiteral("cannot start %1 (%2): install FFmpeg or set REELKEEPER_FFMPEG")
            .arg(program, ffmpeg.errorString());
    }
    const bool ended = ffmpeg.waitForFinished(makeTimeout);
    const QString said = QString::fromLocal8Bit(ffmpeg.readAllStandardError()).trimmed();
    // FFmpeg may end well on a full disk, and only says so.
    if (!ended || ffmpeg.exitStatus() != QProcess::NormalExit || ffmpeg.exitCode() != 0 ||
        !said.isEmpty()) {
        ffmpeg.kill();
        ffmpeg.waitForFinished();
        QFile::remove(unfinished);
        return QStringLiteral("%1 could not make %2: %3").arg(program, stream.file, said);
    }
    if (!QFile::rename(unfinished, folder.filePath(stream.file)))
        return QStringLiteral("cannot rename %1").arg(unfinished);
    return QString();
}
} // namespace

const QVector<DemoVideo> &demoVideos()
{
    static const QVector<DemoVideo> videos = {
        {QStringLiteral("several-sizes"),
         QStringLiteral("Several frame sizes"),
         QStringLiteral("Twelve seconds in six sizes, as MP4 and as FLV."),
         {QStringLiteral("sizes"), QStringLiteral("mp4"), QStringLiteral("flv")},
         12,
         {mp4(22, QStringLiteral("several-sizes-720p.mp4"), 1280, 720, 2000),
          mp4(59, QStringLiteral("several-sizes-480p.mp4"), 854, 480, 1000),
          mp4(18, QStringLiteral("several-sizes-360p.mp4"), 640, 360, 600),
          mp4(36, QStringLiteral("several-sizes-240p.mp4"), 426, 240, 300),
          flv(34, QStringLiteral("several-sizes-360p.flv"), 640, 360, 600),
          flv(5, QStringLiteral("several-sizes-180p.flv"), 320, 180, 250)}},
        {QStringLiteral("index-last"),
         QStringLiteral("Index at the end"),
         QStringLiteral("A description with \"quotes\", a \\, };  and </script> in it.\n"
                        "The file can only be read once it is complete."),
         {QStringLiteral("index"), QStringLiteral("moov")},
         12,
         {mp4(18, QStringLiteral("index-last-360p.mp4"), 640, 360, 600, false)}},
        {QStringLiteral("longer"),
         QStringLiteral("Ben's longer video: Übergrößen/Fußnoten & 日本語の題名"),
         QStringLiteral("A minute, and a title that no file can bear as it stands."),
         {QStringLiteral("längere"), QStringLiteral("日本語")},
         60,
         {mp4(18, QStringLiteral("longer-360p.mp4"), 640, 360, 600)}},
        {QStringLiteral("free-formats"),
         QStringLiteral("Free formats"),
         QStringLiteral("Neither MP4 nor FLV: the first one is taken, whatever the quality."),
         {QStringLiteral("webm"), QStringLiteral("ogg")},
         12,
         {freeFormat(43, QStringLiteral("free-formats-180p.webm"), QByteArrayLiteral("video/webm"),
                     QStringLiteral("vp8, vorbis")),
          freeFormat(44, QStringLiteral("free-formats-180p.ogg"), QByteArrayLiteral("video/ogg"),
                     QStringLiteral("theora, vorbis"))}},
    };
    return videos;
}

QString makeDemoVideos(const QString &path)
{
    const QDir folder(path);
    if (!folder.mkpath(QStringLiteral(".")))
        return QStringLiteral("cannot create the folder %1").arg(path);
    QLockFile lock(folder.filePath(QStringLiteral("making.lock")));
    lock.setStaleLockTime(0); // only the end of the other process frees it early
    if (!lock.tryLock(lockTimeout))
        return QStringLiteral("cannot lock the folder %1").arg(path);
    // An FFmpeg that outlived its start may still write to these.
    for (const QString &left : folder.entryList({QStringLiteral("*.part")}, QDir::Files))
        QFile::remove(folder.filePath(left));
    for (const DemoVideo &video : demoVideos()) {
        for (const DemoStream &stream : video.streams) {
            if (QFile::exists(folder.filePath(stream.file)))
                continue;
            const QString error = makeStream(video, stream, folder);
            if (!error.isEmpty())
                return error;
        }
    }
    return QString();
}
