#pragma once

#include "cjslib.h"
#include "httpget.h"
#include "videoinfo.h"

#include <QObject>
#include <QString>
#include <QVector>

class OutputProfileManager;

// One record of a stream text.
struct StreamRecord
{
    enum Fate { Read, NotTwoHalves, NotFourFields, NoWebAddress, TooMany };
    Fate fate = Read;
    QString text;       // as the script wrote it
    VideoStream stream; // when it was read
};

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
    Result read(const SiteAccess &access, VideoInfo *info);
    Result read(const QString &url, VideoInfo *info); // of a plain page

    // For a person: looks at the address first, writes the log, drops duplicates and selects the
    // stream of the stored source quality. info may hold a partial result after a failure.
    // User-interface thread.
    Result analyse(const SiteAccess &access, const OutputProfileManager &profiles, VideoInfo *info);

    // Why there is NoPage, when the person is to know; otherwise empty.
    QString reason() const { return m_reason; }

    // The well-formed records of a stream text, in order, duplicates kept, at most mostStreams.
    // access: of their page. Any thread.
    static QVector<VideoStream>
    splitStreams(const QString &streamText,
                 const SiteAccess &access = SiteAccess::plain(QString()));

    // The same with what is left out, for whoever asks why. Any thread.
    static QVector<StreamRecord>
    splitRecords(const QString &streamText,
                 const SiteAccess &access = SiteAccess::plain(QString()));

    // Each is compared with those before it, and gets lines of its own in the log; no site has so
    // many, but a page may say anything.
    static constexpr int mostStreams = 1000;

    static bool isDuplicate(const QVector<VideoStream> &streams, const VideoStream &stream);

public slots:
    void stop();

private:
    // A line for the debug channel and one for the log; either may be empty.
    using Note = void (*)(const QString &trace, const QString &tag, const QString &text);
    Result read(const SiteAccess &access, VideoInfo *info, Note note);
    QString fetch(const SiteAccess &access);

    const CJSLib &m_scripts;
    const Alert m_alert;
    HttpGet m_fetcher;
    QString m_reason;
};
