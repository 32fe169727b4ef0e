#pragma once

#include "encoder.h"

// The encoder program beside the executable.
class FFMpegEncoder final : public Encoder
{
    Q_OBJECT
    Q_DISABLE_COPY(FFMpegEncoder)

public:
    // program: path of the encoder; empty for "encoder/ffmpeg.exe" beside the executable.
    FFMpegEncoder(JobData &job, const QString &arguments, const QString &program = QString());

    QString programPath() const override;
    bool parseProgress(const QString &line) override;

private:
    QString m_program;
};
