#include "adapterprocess.h"

#include "literals.h"
#include "mediafile.h"

#include <QFile>

AdapterProcess::AdapterProcess(const QStringList &arguments, const QString &input,
                               const QStringList &environment)
{
    m_process.setEnvironment(QProcess::systemEnvironment() + environment);
    m_process.setStandardInputFile(input);
    m_process.start(QStringLiteral(ADAPTER), arguments);
}

AdapterEnd AdapterProcess::end()
{
    AdapterEnd end;
    const bool ended =
        m_process.state() == QProcess::NotRunning || m_process.waitForFinished(60000);
    if (ended && m_process.exitStatus() == QProcess::NormalExit)
        end.code = m_process.exitCode();
    end.errors = m_process.readAllStandardError();
    return end;
}

QString shapePath(Shape shape, const QString &folder)
{
    const QString names[] = {"wide.mp4"_q, "anamorphic.mp4"_q, "turned.mp4"_q, "odd.webm"_q};
    const QString path = folder + names[int(shape)];
    if (QFile::exists(path))
        return path;
    const QString white = "-f lavfi -i color=white:s=%1:d=0.6 -f lavfi -i sine=d=0.6 "_q;
    const QString mp4 =
        " -vcodec libx264 -preset ultrafast -pix_fmt yuv420p -movflags +faststart"_q;
    const QString arguments[] = {
        white.arg("320x180"_q) + mp4,
        white.arg("360x288"_q) + "-vf setdar=16/9"_q + mp4,
        shape == Shape::Turned ? "-i "_q + shapePath(Shape::Wide, folder) +
                                     " -codec copy -metadata:s:v rotate=90 -movflags +faststart"_q
                               : QString(),
        white.arg("322x242"_q) + "-vf format=gbrp,crop=321:241:0:0,format=yuv420p"
                                 " -deadline realtime -cpu-used 8"_q,
    };
    const QByteArray errors = runFfmpeg("-v error "_q + arguments[int(shape)] + " %1"_q, path);
    return errors.isEmpty() ? path : QString();
}

double shownShape(Shape shape)
{
    return shape == Shape::Turned ? 9.0 / 16 : shape == Shape::Odd ? 4.0 / 3 : 16.0 / 9;
}
