#include "pageanalysis.h"

#include "cjslib.h"
#include "httpget.h"
#include "logfile.h"
#include "outputprofilemanager.h"
#include "texts.h"
#include "trace.h"

#include <QStringList>

namespace {
constexpr int fetchAttempts = 5;

void log(const QString &tag, const QString &text)
{
    LogFile::instance()->write(tag, text);
}

int noVideo(const QString &url)
{
    TRACE() << "Failed: Not contain video.";
    log(QStringLiteral("Not contain video:"), url);
    return PageAnalysis::NoVideo;
}

QString describe(const VideoStream &stream)
{
    return stream.dimension + QStringLiteral("  ") + stream.type;
}

void appendStream(QVector<VideoStream> *streams, const VideoStream &stream)
{
    TRACE() << "Video Demision:" << stream.dimension;
    TRACE() << "Video Type:" << stream.type;
    TRACE() << "Video URL:" << stream.videoAddress;
    log(QStringLiteral("Video:"), describe(stream));
    if (PageAnalysis::isDuplicate(*streams, stream)) {
        TRACE() << "------------Video URL Reaped." << stream.videoAddress;
        log(QStringLiteral("Video URL Reaped:"), stream.videoAddress);
    } else {
        streams->append(stream);
    }
}
} // namespace

int PageAnalysis::analyse(const QString &url, VideoInfo *info)
{
    HttpGet fetcher;
    return analyse(url, fetcher, info);
}

int PageAnalysis::analyse(const QString &url, HttpGet &fetcher, VideoInfo *info)
{
    if (!isUrl(url))
        return InvalidUrl;

    const QUrl requestUrl(ensurePrefix(url, QStringLiteral("http://")));
    TRACE() << "Parsing domain...";
    log(QStringLiteral("Add page:"), url);
    const SiteScript *script = CJSLib::instance()->matchHost(requestUrl.host());
    if (!script) {
        log(QStringLiteral("Page not support: "), url);
        return NotSupported;
    }
    TRACE() << "Match domain:" << script->name;
    TRACE() << "Parsing page:" << url;
    log(QStringLiteral("Parse page:"), url);

    // Other events run while the page is fetched, and the list may be rebuilt by one of them.
    const QString scriptPath = script->path;
    const QString pageText = fetch(fetcher, requestUrl);
    if (pageText.isEmpty()) {
        TRACE() << "Can not get page.";
        log(QStringLiteral("Can not get page:"), url);
        return NoPage;
    }
    TRACE() << "Read page.";
    log(QStringLiteral("Read page:"), url);

    *info = CJSLib::instance()->parsePage(url, pageText, scriptPath);
    if (holdsNoVideo(info->streamText))
        return noVideo(url);
    TRACE() << "Parse resoult: " << info->streamText;
    log(QStringLiteral("Parse resoult:"), info->streamText);
    const QVector<VideoStream> found = splitStreams(info->streamText);
    for (const VideoStream &stream : found)
        appendStream(&info->streams, stream);
    if (info->streams.isEmpty())
        return noVideo(url);

    info->selectedStream = OutputProfileManager::instance()->matchQuality(info->streams, -1);
    const QString selected = describe(info->streams.at(info->selectedStream));
    TRACE() << "Select: " << selected;
    log(QStringLiteral("Select: "), selected);
    return Success;
}

QString PageAnalysis::fetch(HttpGet &fetcher, const QUrl &url)
{
    QString text;
    for (int attempt = 0; attempt < fetchAttempts && text.isEmpty() && !fetcher.isStopped();
         ++attempt)
        text = fetcher.get(url);
    return text;
}

bool PageAnalysis::holdsNoVideo(const QString &streamText)
{
    return streamText.isEmpty() || streamText.startsWith(QLatin1String("$Error:"));
}

QVector<VideoStream> PageAnalysis::splitStreams(const QString &streamText)
{
    QVector<VideoStream> streams;
    const QStringList records = streamText.split(QStringLiteral("||"));
    for (const QString &record : records) {
        const QStringList halves = record.split(QLatin1Char('|'));
        if (halves.size() != 2)
            continue;
        const QStringList fields = halves.at(0).split(QLatin1Char('$'));
        if (fields.size() != 4)
            continue;
        streams.append({fields.at(0), fields.at(1), fields.at(2), fields.at(3),
                        ensurePrefix(halves.at(1), QStringLiteral("http://"))});
    }
    return streams;
}

bool PageAnalysis::isDuplicate(const QVector<VideoStream> &streams, const VideoStream &stream)
{
    for (const VideoStream &other : streams) {
        if (other.dimension == stream.dimension && other.videoAddress == stream.videoAddress)
            return true;
    }
    return false;
}
