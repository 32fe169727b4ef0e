#include "ffmpegencoder.h"

#include "jobdata.h"

#include <QCoreApplication>
#include <QRegExp>

#include <algorithm>

FFMpegEncoder::FFMpegEncoder(JobData &job, const QString &arguments, const QString &program)
    : Encoder(job, arguments)
    , m_program(program)
{
}

QString FFMpegEncoder::programPath() const
{
    if (!m_program.isEmpty())
        return m_program;
    return QStringLiteral("%1/encoder/ffmpeg.exe").arg(QCoreApplication::applicationDirPath());
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
