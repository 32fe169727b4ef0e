#pragma once

#include "videoinfo.h"

#include <QString>
#include <QUrl>
#include <QVector>

class HttpGet;

// From the address of a watch page to its streams. Needs no widget.
class PageAnalysis final
{
public:
    enum Result {
        Success = 0,
        InvalidUrl = -3,
        NotSupported = -1,
        NoPage = 1,  // not obtained in 5 attempts
        NoVideo = 2, // the page holds no downloadable video
    };

    // The whole analysis, logged. User-interface thread; nested event loops run while the page is
    // fetched. info may hold a partial result after a failure.
    static int analyse(const QString &url, VideoInfo *info);
    // The same with a fetcher of the caller's, made for this analysis, which can then be stopped.
    static int analyse(const QString &url, HttpGet &fetcher, VideoInfo *info);

    // At most 5 attempts on the same fetcher, one right after the other, none after the calling
    // thread was asked to end. Empty: not obtained. Any thread.
    static QString fetch(HttpGet &fetcher, const QUrl &url);

    // True when a stream text says that there is nothing to download. Any thread.
    static bool holdsNoVideo(const QString &streamText);

    // The well-formed records of a stream text, in order, duplicates kept. Any thread.
    static QVector<VideoStream> splitStreams(const QString &streamText);

    static bool isDuplicate(const QVector<VideoStream> &streams, const VideoStream &stream);
};
