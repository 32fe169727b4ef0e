#pragma once

#include <QSize>
#include <QString>

// What a player makes of a file.
struct MediaFile
{
    QSize frame;           // pixels as shown, bars and all; empty: there is no picture
    QSize picture;         // the part of it that is not black
    double pixelShape = 0; // width over height of a pixel
    int channels = 0;      // of the sound
    double seconds = 0;
    QString title;

    // The picture has that width over its height, and reaches the edge of the frame.
    bool shows(double shape) const;
    QString text() const; // frame, picture and pixels
};
MediaFile lookAt(const QString &path);

// FFmpeg's own answer to those arguments, where "%1" stands for the path; empty when it did not
// end.
QByteArray runFfmpeg(const QString &arguments, const QString &path);
