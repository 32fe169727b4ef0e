#pragma once

#include <QMetaType>
#include <QObject>
#include <QString>

// Why a job failed, or why it waits before it tries again.
struct JobTrouble
{
    Q_GADGET

public:
    // What the codes of a transfer (DownloadError, QNetworkReply::NetworkError) leave open.
    enum Reason : qint32 {
        DiskFull = 2000,
        EndedShort,       // the transfer, before the last byte
        OutputGone,       // somebody took the finished file away
        AdapterMissing,   // the program that stands before FFmpeg cannot be started
        FFmpegMissing,    // FFmpeg itself cannot
        FFmpegCrashed,    //
        EncoderMissing,   // FFmpeg was built without it; the detail is its name
        SoundRefused,     // by the encoder of the format
        PictureRefused,   // likewise
        PictureMissing,   // in the video, and the format needs one
        SourceUnreadable, // what was downloaded is no video to FFmpeg
        OutputNotWritten,
        OutputUnusable, // it was written, but cannot be what was asked for
        ConversionFailed,
    };
    Q_ENUM(Reason)

    qint32 code = 0; // of one of the three kinds; 0: none
    QString detail;  // what the system, the server or FFmpeg said of it; mostly empty
};
Q_DECLARE_METATYPE(JobTrouble)
