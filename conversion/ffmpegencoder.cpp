#include "ffmpegencoder.h"

#include "jobdata.h"

#include <QRegExp>

#include <algorithm>

FFMpegEncoder::FFMpegEncoder(JobData &job, const QString &arguments, const QString &programFolder)
    : Encoder(job, arguments)
    , m_programFolder(programFolder)
{
}

QString FFMpegEncoder::programPath() const
{
    return QStringLiteral("%1/encoder/ffmpeg.exe").arg(m_programFolder);
}

bool FFMpegEncoder::parseProgress(const QString &line)
{
    QRegExp progress(QStringLiteral("^frame=[ \\t]*[0-9]+.*time=[ \\t]*([0-9\\.]+)"));
    if (progress.indexIn(line) < 0)
        return false;
    job().convertedSeconds =
        std::min(static_cast<float>(job().duration), progress.cap(1).toFloat());
    job().changeFlags.set(ProgressChanged);
    return true;
}
