#pragma once

#include "encoder.h"

// The encoder program beside the executable.
class FFMpegEncoder final : public Encoder
{
    Q_OBJECT
    Q_DISABLE_COPY(FFMpegEncoder)

public:
    // programFolder: the executable's; the encoder is "encoder/ffmpeg.exe" below it.
    FFMpegEncoder(JobData &job, const QString &arguments, const QString &programFolder);

    QString programPath() const override;
    bool parseProgress(const QString &line) override;

private:
    QString m_programFolder;
};
