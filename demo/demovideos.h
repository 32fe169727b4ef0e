#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

// One file that a watch page of the bundled site offers.
struct DemoStream
{
    int itag;
    QString file; // name in the media folder, and the last part of its address
    QByteArray contentType;
    QString codecs;
    int width; // pixels
    int height;
    int videoKilobits; // per second
    bool indexFirst;   // MP4 only
};

struct DemoVideo
{
    QString id; // as in /watch?v=ID
    QString title;
    QString description;
    QStringList keywords;
    int seconds;
    QVector<DemoStream> streams;
};

const QVector<DemoVideo> &demoVideos();

// Makes every file of the videos that is not in the folder yet, with FFmpeg (the environment
// variable REELKEEPER_FFMPEG or the first on the PATH), one after another; blocks. Several
// processes may do so at once. Returns what went wrong, empty when all files are there.
QString makeDemoVideos(const QString &folder);
