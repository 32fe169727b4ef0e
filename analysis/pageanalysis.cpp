#include "pageanalysis.h"

#include "logfile.h"
#include "outputprofilemanager.h"
#include "trace.h"

#include <QEventLoop>
#include <QStringList>

namespace {
constexpr int fetchAttempts = 5;

// quit() ends the event loops of a thread, and those begun later. A run of scripts is none, so it
// looks whether one would still run.
bool isThreadQuitting()
{
    QEventLoop loop;
    QMetaObject::invokeMethod(
        &loop, [&loop] { loop.exit(1); }, Qt::QueuedConnection);
    return loop.exec() != 1;
}

void keep(const QString &trace, const QString &tag, const QString &text)
{
    if (!trace.isEmpty())
        TRACE() << trace;
    if (!tag.isEmpty())
        LogFile::instance()->write(tag, text);
}

void drop(const QString &, const QString &, const QString &) {}

PageAnalysis::Result noVideo(const QString &url,
                             void (*note)(const QString &, const QString &, const QString &))
{
    note(QStringLiteral("Failed: Not contain video."), QStringLiteral("Not contain video:"), url);
    return PageAnalysis::NoVideo;
}

QString describe(const VideoStream &stream)
{
    return stream.dimension + QStringLiteral("  ") + stream.type;
}

// Without the streams that are there already.
QVector<VideoStream> distinct(const QVector<VideoStream> &found)
{
    QVector<VideoStream> streams;
    for (const VideoStream &stream : found) {
        TRACE() << "Video Demision:" << stream.dimension;
        TRACE() << "Video Type:" << stream.type;
        keep(QStringLiteral("Video URL:") + stream.videoAddress, QStringLiteral("Video:"),
             describe(stream));
        if (PageAnalysis::isDuplicate(streams, stream))
            keep(QStringLiteral("------------Video URL Reaped.") + stream.videoAddress,
                 QStringLiteral("Video URL Reaped:"), stream.videoAddress);
        else
            streams.append(stream);
    }
    return streams;
}
} // namespace

PageAnalysis::PageAnalysis(const CJSLib &scripts, const Alert &alert, int timeout)
    : m_scripts(scripts)
    , m_alert(alert)
    , m_fetcher(timeout)
{
}

void PageAnalysis::stop()
{
    m_fetcher.stop();
}

PageAnalysis::Result PageAnalysis::read(const SiteAccess &access, VideoInfo *info)
{
    return read(access, info, drop);
}

PageAnalysis::Result PageAnalysis::read(const QString &url, VideoInfo *info)
{
    return read(SiteAccess::plain(url), info);
}

PageAnalysis::Result PageAnalysis::read(const SiteAccess &access, VideoInfo *info, Note note)
{
    const QString url = access.page;
    note(QStringLiteral("Parsing domain..."), QStringLiteral("Add page:"), url);
    const SiteScript *script = m_scripts.matchHost(QUrl(access.address).host());
    if (!script) {
        note(QString(), QStringLiteral("Page not support: "), url);
        return NotSupported;
    }
    note(QStringLiteral("Match domain:") + script->name, QString(), QString());
    note(QStringLiteral("Parsing page:") + url, QStringLiteral("Parse page:"), url);

    // Other events run while the page is fetched, and the list may be rebuilt by one of them.
    const QString scriptPath = script->path;
    const QString pageText = fetch(access);
    if (m_fetcher.isStopped())
        return Stopped;
    if (pageText.isEmpty()) {
        note(QStringLiteral("Can not get page."), QStringLiteral("Can not get page:"), url);
        m_reason = access.tellsReasons ? m_fetcher.reason() : QString();
        if (!m_reason.isEmpty())
            note(QString(), QStringLiteral("Reason:"), m_reason);
        return NoPage;
    }
    note(QStringLiteral("Read page."), QStringLiteral("Read page:"), url);

    const ScriptTalk talk{m_alert, [this] {
                              if (isThreadQuitting())
                                  stop();
                              return m_fetcher.isStopped();
                          }};
    *info = m_scripts.parsePage(url, pageText, scriptPath, talk);
    if (m_fetcher.isStopped())
        return Stopped;
    if (info->streamText.isEmpty() || info->streamText.startsWith(QLatin1String("$Error:")))
        return noVideo(url, note);
    note(QStringLiteral("Parse resoult: ") + info->streamText, QStringLiteral("Parse resoult:"),
         info->streamText);
    info->streams = splitStreams(info->streamText, access);
    return info->streams.isEmpty() ? noVideo(url, note) : Success;
}

PageAnalysis::Result PageAnalysis::analyse(const SiteAccess &access,
                                           const OutputProfileManager &profiles, VideoInfo *info)
{
    if (!access.looksRight(access.page))
        return InvalidUrl;
    const Result result = read(access, info, keep);
    if (result != Success)
        return result;
    info->streams = distinct(info->streams);
    info->selectedStream = profiles.matchQuality(info->streams, -1);
    const QString selected = describe(info->streams.at(info->selectedStream));
    keep(QStringLiteral("Select: ") + selected, QStringLiteral("Select: "), selected);
    return Success;
}

// One attempt right after the other.
QString PageAnalysis::fetch(const SiteAccess &access)
{
    QString text;
    bool more = true;
    for (int attempt = 0; attempt < fetchAttempts && more; ++attempt) {
        text = m_fetcher.get(access);
        // What would be met again is told at once to who is told why.
        const bool final = access.tellsReasons && m_fetcher.isRefused();
        more = text.isEmpty() && !m_fetcher.isStopped() && !final;
    }
    return text;
}

QVector<VideoStream> PageAnalysis::splitStreams(const QString &streamText, const SiteAccess &access)
{
    QVector<VideoStream> streams;
    const QVector<StreamRecord> records = splitRecords(streamText, access);
    for (const StreamRecord &record : records) {
        if (record.fate == StreamRecord::Read)
            streams.append(record.stream);
    }
    return streams;
}

QVector<StreamRecord> PageAnalysis::splitRecords(const QString &streamText,
                                                 const SiteAccess &access)
{
    QVector<StreamRecord> records;
    int streams = 0;
    const QStringList texts = streamText.split(QStringLiteral("||"));
    for (const QString &text : texts) {
        StreamRecord record;
        record.text = text;
        if (streams == mostStreams) {
            record.fate = StreamRecord::TooMany;
            records.append(record);
            continue;
        }
        const QStringList halves = text.split(QLatin1Char('|'));
        const QStringList fields = halves.at(0).split(QLatin1Char('$'));
        const QString address = access.streamAddress(halves.value(1));
        if (halves.size() != 2) {
            record.fate = StreamRecord::NotTwoHalves;
        } else if (fields.size() != 4) {
            record.fate = StreamRecord::NotFourFields;
        } else if (address.isEmpty()) {
            record.fate = StreamRecord::NoWebAddress;
        } else {
            ++streams;
            record.stream = {fields.at(0), fields.at(1), fields.at(2), fields.at(3), address};
        }
        records.append(record);
    }
    return records;
}

bool PageAnalysis::isDuplicate(const QVector<VideoStream> &streams, const VideoStream &stream)
{
    for (const VideoStream &other : streams) {
        if (other.dimension == stream.dimension && other.videoAddress == stream.videoAddress)
            return true;
    }
    return false;
}
