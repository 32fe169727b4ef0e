#pragma once

#include <QString>
#include <QVector>

// One stream that a watch page offers, exactly as the site script wrote it.
struct VideoStream
{
    QString dimension;    // frame size in pixels, "640x360"
    QString length;       // seconds, decimal text; may be empty
    QString extra;        // third field: the site script's own, kept and not interpreted
    QString type;         // names the container ("mp4", "flv" somewhere inside)
    QString videoAddress; // begins with "http://"; "https://" only of secure pages
};

// The result of a page analysis.
struct VideoInfo
{
    QString pageUrl; // as the person gave it, possibly without a scheme
    QString title;
    QString keyword;
    QString description;
    QString streamText;     // raw output of the site's main script
    int selectedStream = 0; // index into streams; set only by a successful analysis
    QVector<VideoStream> streams;
};
