#include "jobrecord.h"

#include "files.h"
#include "logfile.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "pageanalysis.h"
#include "platform.h"
#include "texts.h"
#include "trace.h"

#include <QDir>
#include <QFile>
#include <QSqlQuery>
#include <QVariant>
#include <QVector>

namespace {

// A null text would be stored as NULL.
QString stored(const QString &text)
{
    return text.isNull() ? QStringLiteral("") : text;
}

bool removeFile(const QString &path)
{
    return !path.isEmpty() && platform::removeFile(path);
}

// The statement as it reads with its values, for the log; the values themselves are bound.
QString statementText(const QVector<QVariant> &values)
{
    static const QString form = QStringLiteral(
        "INSERT INTO video_download values(?, '?', '?', '?', '?', '?', '?', '?','?',?,'?','?',?,?,"
        "?,?,'?','?','?',?,?,?)");
    QString text;
    int next = 0;
    for (const QChar c : form) {
        if (c == QLatin1Char('?'))
            text += values.at(next++).toString();
        else
            text += c;
    }
    return text;
}

} // namespace

bool JobRecord::loadRow(QSqlQuery &query, int)
{
    id = query.value(0).toInt();
    page = query.value(1).toString();
    title = query.value(2).toString();
    keyword = query.value(3).toString();
    category = query.value(4).toString();
    video_url = query.value(5).toString();
    video_usser_agent = query.value(6).toString();
    video_cookies = query.value(7).toString();
    video_dimension = query.value(8).toString();
    video_state = static_cast<JobState>(query.value(9).toInt());
    video_type = query.value(10).toString();
    video_mame = query.value(11).toString();
    download_bytes = query.value(12).toLongLong();
    total_bytes = query.value(13).toLongLong();
    duration = query.value(14).toInt();
    output_format = query.value(15).toInt();
    output_name = query.value(16).toString();
    output_demision = query.value(17).toString();
    guid = query.value(18).toString();
    download_time = query.value(19).toInt();
    quality_index = query.value(20).toInt();
    spend_time = query.value(21).toLongLong();

    contentType = QString();
    outputFormatName.clear();
    encodedBytes = 0;
    convertedSeconds = 0;
    changeFlags.clear(~0u);
    if (output_format != 0) {
        outputFormatName = OutputProfileManager::instance()->displayName(output_format);
        spend_time = 0;
    }
    TRACE() << "ID:" << id;
    TRACE() << "Page:" << page;
    TRACE() << "Title:" << title;
    TRACE() << "Source file:" << video_mame.text() << download_bytes << '/' << total_bytes;
    TRACE() << "State:" << stateText();
    TRACE() << "Length:" << duration;
    TRACE() << "Output name:" << output_name;

    if (video_state == JobState::Finished)
        return QFile::exists(output_name);
    changeFlags.set(StateChanged);
    return true;
}

QString JobRecord::insertStatement()
{
    return QStringLiteral("INSERT INTO video_download "
                          "values(?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)");
}

bool JobRecord::insertRow()
{
    QSqlQuery query;
    if (!query.prepare(insertStatement())) {
        LogFile::instance()->write(QStringLiteral("Database insert failed:"),
                                   QStringLiteral("Failed Video ID(%1)").arg(id));
        return false;
    }
    return insertRow(query);
}

bool JobRecord::insertRow(QSqlQuery &prepared)
{
    // User agent and cookies are never stored: every loaded job starts with both empty.
    const QVector<QVariant> values = {
        id,
        stored(page),
        stored(title),
        stored(keyword),
        stored(category),
        stored(video_url),
        QStringLiteral(""),
        QStringLiteral(""),
        stored(video_dimension),
        static_cast<qint32>(JobState(video_state)),
        stored(video_type),
        stored(video_mame),
        qint64(download_bytes),
        qint64(total_bytes),
        duration,
        output_format,
        stored(output_name),
        stored(output_demision),
        stored(guid),
        qint32(download_time),
        quality_index,
        spend_time,
    };
    LogFile *log = LogFile::instance();
    if (log->isOpen() || lcTrace().isDebugEnabled()) {
        const QString text = statementText(values);
        TRACE() << text;
        log->write(QStringLiteral("Database:"), text);
    }
    for (int i = 0; i < values.size(); ++i)
        prepared.bindValue(i, values.at(i));
    if (prepared.exec())
        return true;
    log->write(QStringLiteral("Database insert failed:"),
               QStringLiteral("Failed Video ID(%1)").arg(id));
    return false;
}

QString JobRecord::stateText() const
{
    switch (video_state) {
    case JobState::Start:
        return QStringLiteral("(Start)");
    case JobState::Stopped:
        return QStringLiteral("(Stopped)");
    case JobState::PauseFinishes:
        return QStringLiteral("(Pause(Finishes))");
    case JobState::Finished:
        return QStringLiteral("(Finished)");
    case JobState::Errored:
        return QStringLiteral("(Errored)");
    }
    return QStringLiteral("(Unknown)");
}

QString JobRecord::stateIcon() const
{
    switch (video_state) {
    case JobState::Stopped:
        return QStringLiteral(":/png/GeneratedFiles/download_pause.png");
    case JobState::Errored:
        return QStringLiteral(":/png/GeneratedFiles/download_failed.png");
    default:
        return QStringLiteral(":/png/GeneratedFiles/download_ing.png");
    }
}

bool JobRecord::finalizeOutput()
{
    if (output_format != 0) {
        // Whoever took the converted file away is left with the downloaded one.
        if (Options::instance()->deleteTempFile && QFile::exists(output_name))
            removeFile(video_mame); // a left-over source is no reason to fail a finished job
    } else {
        output_demision = video_dimension;
    }
    const QString folder = absolutePathOf(output_name) + QDir::separator();
    const QString extension = QLatin1Char('.') + suffixOf(output_name);
    const auto candidate = [&](const QString &counter) {
        return folder + fittingBaseName(title, counter + extension) + counter + extension;
    };
    QString path = candidate(QString());
    for (int n = 0; QFile::exists(path); ++n)
        path = candidate(QStringLiteral("_%1").arg(n));
    if (!QFile::rename(output_name, path))
        return false;
    output_name = path;
    return true;
}

bool JobRecord::removePartialFiles()
{
    bool removed = removeFile(video_mame);
    if (output_format != 0)
        removed = removeFile(output_name);
    spend_time = 0;
    return removed;
}

bool JobRecord::deleteFiles()
{
    if (video_state != JobState::Finished)
        removeFile(video_mame); // may never have come to exist
    return removeFile(output_name);
}

void JobRecord::refreshVideoUrl()
{
    // First, so that a failed renewal is not tried again on the same day.
    download_time = dayOfYear();
    // A box may only be shown by the user-interface thread.
    PageAnalysis analysis(*CJSLib::instance(), PageAnalysis::Alert(), HttpGet::transferTimeout);
    VideoInfo found;
    if (analysis.read(page, &found) != PageAnalysis::Success)
        return;
    const int best = OutputProfileManager::instance()->matchQuality(found.streams, quality_index);
    const QString address = found.streams.at(best).videoAddress;
    const QString old = video_url;
    if (address == old)
        return;
    LogFile::instance()->write(QStringLiteral("Video URL(old)"), old);
    video_url = decodeUrl(address);
    LogFile::instance()->write(QStringLiteral("Video URL(new)"), video_url);
}
