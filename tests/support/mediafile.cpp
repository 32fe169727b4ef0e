#include "mediafile.h"

#include "literals.h"

#include <QDebug>
#include <QProcess>
#include <QRegularExpression>

QByteArray runFfmpeg(const QString &arguments, const QString &path)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start("ffmpeg"_q, QProcess::splitCommand(arguments).replaceInStrings("%1"_q, path));
    return process.waitForFinished(60000) ? process.readAll() : QByteArray();
}

bool MediaFile::shows(double shape) const
{
    const QSize bars = frame - picture;
    return qAbs(pixelShape * picture.width() / picture.height() / shape - 1) < 0.03 &&
           qMin(bars.width(), bars.height()) <= 2;
}

QString MediaFile::text() const
{
    QString text;
    QDebug(&text) << frame << picture << pixelShape;
    return text;
}

MediaFile lookAt(const QString &path)
{
    const QString said = QString::fromUtf8(
        runFfmpeg("-hide_banner -nostdin -i %1 -vf cropdetect=24:2:0,showinfo -f null -"_q, path));
    const auto found = [&](const char *pattern) {
        return QRegularExpression(QString::fromLatin1(pattern)).match(said).capturedTexts().mid(1);
    };
    MediaFile media;
    const QStringList frame = found(" sar:(\\d+)/(\\d+) s:(\\d+)x(\\d+) ");
    if (!frame.isEmpty()) {
        // Without a shape of its own a pixel is taken for square.
        const double width = qMax(1, frame.at(0).toInt());
        media.pixelShape = frame.at(0) == "0"_q ? 1 : width / frame.at(1).toInt();
        media.frame = QSize(frame.at(2).toInt(), frame.at(3).toInt());
    }
    const QStringList picture = found("(?s).* crop=(\\d+):(\\d+):");
    if (!picture.isEmpty())
        media.picture = QSize(picture.at(0).toInt(), picture.at(1).toInt());
    const QString sound = found("Audio: .* Hz, (\\w+)").value(0);
    media.channels = sound == "mono"_q ? 1 : sound == "stereo"_q ? 2 : 0;
    media.seconds = found("Duration: 00:00:(\\d\\d\\.\\d\\d)").value(0).toDouble();
    media.title = found("(?i)\n +title +: ((?:.|\n +: )*)").value(0);
    return media;
}
