#pragma once

#include "cjslib.h"
#include "httpget.h"
#include "videoinfo.h"

#include <QObject>
#include <QString>
#include <QVector>

class OutputProfileManager;

// From the address of a watch page to its streams: finds the site's script, fetches the page, runs
// the script over it, splits what it says. Made for one page, in the thread that reads it; needs no
// widget. Nested event loops run meanwhile.
class PageAnalysis final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(PageAnalysis)

public:
    enum Result {
        Success = 0,
        InvalidUrl = -3,
        NotSupported = -1,
        NoPage = 1,  // not obtained in 5 attempts
        NoVideo = 2, // the page holds no downloadable video
        Stopped = 3, // by stop(), or the thread was told to quit: nobody waits for a result
    };
    using Alert = std::function<void(const QString &)>;

    // alert shows what a script wants to be seen (see ScriptTalk). timeout: milliseconds without a
    // byte of the page.
    PageAnalysis(const CJSLib &scripts, const Alert &alert, int timeout);

    // Every well-formed record of the page, in order, duplicates kept. Writes no log.
    Result read(const QString &url, VideoInfo *info);

    // For a person: looks at the address first, writes the log, drops duplicates and selects the
    // stream of the stored source quality. info may hold a partial result after a failure.
    // User-interface thread.
    Result analyse(const QString &url, const OutputProfileManager &profiles, VideoInfo *info);

    // The well-formed records of a stream text, in order, duplicates kept, at most 1000. Any
    // thread.
    static QVector<VideoStream> splitStreams(const QString &streamText);

    static bool isDuplicate(const QVector<VideoStream> &streams, const VideoStream &stream);

public slots:
    void stop();

private:
    // A line for the debug channel and one for the log; either may be empty.
    using Note = void (*)(const QString &trace, const QString &tag, const QString &text);
    Result read(const QString &url, VideoInfo *info, Note note);
    QString fetch(const QUrl &url);

    const CJSLib &m_scripts;
    const Alert m_alert;
    HttpGet m_fetcher;
};
