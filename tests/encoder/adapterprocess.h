#pragma once

#include <QDir>
#include <QFile>
#include <QProcess>

struct AdapterEnd
{
    int code = -1; // -1: no normal end
    QByteArray errors;
};

// Runs the real adapter over a file and waits for its end.
inline AdapterEnd runAdapter(const QStringList &arguments, const QString &input,
                             const QString &encoder = QString())
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (!encoder.isEmpty())
        environment.insert(QStringLiteral("REELKEEPER_FFMPEG"), encoder);
    process.setProcessEnvironment(environment);
    process.setStandardInputFile(input);
    process.start(QStringLiteral(ADAPTER), arguments);
    AdapterEnd end;
    if (process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit)
        end.code = process.exitCode();
    end.errors = process.readAllStandardError();
    return end;
}

// What FFprobe sees in a file.
struct MediaFile
{
    QString size; // of the picture, "640x360"; empty: there is none
    bool hasSound = false;
    double seconds = 0;
};

inline MediaFile probeMedia(const QString &path)
{
    QProcess probe;
    const QStringList arguments = QProcess::splitCommand(QStringLiteral(
        "-v error -of csv=p=0 -show_entries stream=codec_type,width,height:format=duration"));
    probe.start(QStringLiteral("ffprobe"), arguments + QStringList(path));
    probe.waitForFinished(30000);
    MediaFile media;
    for (const QByteArray &line : probe.readAllStandardOutput().split('\n')) {
        const QList<QByteArray> parts = line.split(',');
        if (parts.first() == "video")
            media.size = QString::fromLatin1(parts.value(1) + 'x' + parts.value(2));
        else if (parts.first() == "audio")
            media.hasSound = true;
        else if (!line.isEmpty())
            media.seconds = qMax(media.seconds, parts.first().toDouble());
    }
    return media;
}
