#include "jobtexts.h"

#include "httpjob.h"
#include "texts.h"
#include "troublewords.h"

#include <QCoreApplication>
#include <QStringList>

#include <cmath>
#include <limits>

namespace {

// The context of the texts, which belong to no class.
struct JobTexts
{
    Q_DECLARE_TR_FUNCTIONS(JobTexts)
};

constexpr double OneDay = 86400; // seconds; from there on an estimate says nothing

// Milliseconds for what is left at the pace so far, in whole seconds. The product leaves 64 bits
// for a large file that has run for days; there the estimate needs no exact digits.
qint64 secondsLeft(qint64 elapsedMs, qint64 done, qint64 total)
{
    const qint64 left = total - done;
    if (std::abs(left) > std::numeric_limits<qint64>::max() / (std::abs(elapsedMs) + 1)) {
        const double seconds = double(elapsedMs) / double(done) * double(left) / 1000.0;
        return std::abs(seconds) < 1e18 ? qint64(seconds) : -1;
    }
    return elapsedMs * left / done / 1000;
}

QString fourParts(const QString &done, const QString &total, qint64 seconds, JobState state)
{
    return QStringLiteral("%1 %2 %3 %4")
        .arg(done, total, QString::number(seconds), QString::number(qint32(state)));
}

} // namespace

QString basicInformation(const JobData &record)
{
    const QString length = formatDuration(record.duration);
    if (record.output_format == 0)
        return QStringLiteral(" %1 %2").arg(length, record.video_dimension);
    return QStringLiteral(" %1 %2\n %3")
        .arg(length, record.video_dimension, record.outputFormatName);
}

QString finishedInformation(const JobData &record, qint64 fileBytes)
{
    return QStringLiteral("%1    %2    %3    %4")
        .arg(formatSize(fileBytes), formatDuration(record.duration), record.output_demision,
             record.outputFormatName);
}

QString stateDescription(JobState state)
{
    switch (state) {
    case JobState::Stopped:
    case JobState::PauseFinishes:
        return JobTexts::tr("Paused");
    case JobState::Finished:
        return JobTexts::tr("Finished");
    case JobState::Errored:
        return JobTexts::tr("Failed");
    case JobState::Start:
        break;
    }
    return JobTexts::tr("Downloading");
}

QString troubleText(const HttpJob &job)
{
    const JobTrouble trouble = job.trouble();
    if (trouble.code == 0)
        return QString();
    if (job.record.video_state == JobState::Errored)
        return JobTexts::tr("%1.").arg(troubleWords(trouble));
    const int dueIn = job.retryDueIn();
    if (!job.isRunning() || dueIn < 0)
        return QString();
    return JobTexts::tr("%1; next try in %2 s.")
        .arg(troubleWords(trouble), QString::number((dueIn + 999) / 1000));
}

QString conditionText(const HttpJob &job)
{
    const JobRecord &record = job.record;
    const QString trouble = troubleText(job);
    const bool onlyConverts = job.isRunning() && record.output_format != 0 &&
                              record.total_bytes > 0 && record.download_bytes == record.total_bytes;
    const QString state =
        onlyConverts ? JobTexts::tr("Converting") : stateDescription(record.video_state);
    if (trouble.isEmpty() || job.isRunning())
        return trouble.isEmpty() ? state : trouble;
    return JobTexts::tr("%1: %2").arg(state, trouble);
}

QString progressText(const HttpJob &job, const QString &data, qint64 speed)
{
    const JobRecord &record = job.record;
    const qint64 done = record.download_bytes;
    const qint64 total = record.total_bytes;
    QStringList lines(conditionText(job));
    if (record.video_state != JobState::Errored) {
        lines += total > 0
                     ? JobTexts::tr("%1 of %2 received").arg(formatSize(done), formatSize(total))
                     : JobTexts::tr("%1 received").arg(formatSize(done));
        const QString converted = formatDuration(int(record.convertedSeconds));
        if (record.output_format != 0)
            lines += record.duration > 0 ? JobTexts::tr("%1 of %2 converted")
                                               .arg(converted, formatDuration(record.duration))
                                         : JobTexts::tr("%1 converted").arg(converted);
        const bool moves = job.isRunning() && job.retryDueIn() < 0;
        if (moves && speed >= 0 && done != total)
            lines += JobTexts::tr("%1 per second").arg(formatSize(speed));
        if (const auto reading = readProgress(data); reading && moves)
            lines += reading->caption;
    }
    return lines.join(QLatin1Char('\n'));
}

QString progressData(const JobData &record, qint32 elapsedMs)
{
    if (record.output_format != 0) {
        const double converted = double(record.convertedSeconds);
        const QString done = QString::number(converted, 'g', 6);
        if (record.duration < 1)
            return done;
        qint64 seconds = -1;
        if (converted >= 0.1)
            seconds = qint64(elapsedMs * (record.duration - converted) / converted / 1000.0);
        return fourParts(done, QString::number(record.duration), seconds, record.video_state);
    }
    // Read once: the transfer writes on meanwhile.
    const qint64 done = record.download_bytes;
    const qint64 total = record.total_bytes;
    if (total <= 0)
        return QString::number(done);
    return fourParts(QString::number(done), QString::number(total),
                     done > 0 ? secondsLeft(elapsedMs, done, total) : -1, record.video_state);
}

std::optional<ProgressReading> readProgress(const QString &data)
{
    const QStringList parts = data.split(QLatin1Char(' '));
    if (parts.size() != 4)
        return std::nullopt;
    ProgressReading reading;
    reading.maximum = parts[1].toDouble();
    if (!(reading.maximum >= 0.01))
        return std::nullopt;
    reading.value = qBound(0.0, parts[0].toDouble(), reading.maximum);
    const double seconds = parts[2].toDouble();
    reading.caption = JobTexts::tr("Time left:%1")
                          .arg(seconds >= 0 && seconds < OneDay ? formatDuration(int(seconds))
                                                                : JobTexts::tr("Unknown"));
    reading.failed = parts[3].toInt() == qint32(JobState::Errored);
    return reading;
}

QString spokenProgress(const QString &data)
{
    const std::optional<ProgressReading> reading = readProgress(data);
    if (!reading)
        return QString();
    if (reading->failed)
        return stateDescription(JobState::Errored);
    return JobTexts::tr("%1%, %2").arg(
        QString::number(int(100 * reading->value / reading->maximum)), reading->caption);
}
