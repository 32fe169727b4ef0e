#include "jobfiles.h"

#include "files.h"
#include "jobdata.h"
#include "platform.h"

#include <QDir>
#include <QFile>

namespace {

bool removeFile(const QString &path)
{
    return !path.isEmpty() && platform::removeFile(path);
}

} // namespace

bool jobfiles::finalize(JobData &job, bool deleteSource)
{
    if (job.output_format == 0)
        job.output_demision = job.video_dimension;
    // Whoever took the converted file away is left with the downloaded one.
    else if (deleteSource && QFile::exists(job.output_name))
        removeFile(job.video_mame); // a left-over source is no reason to fail a finished job

    const QString folder = absolutePathOf(job.output_name) + QDir::separator();
    const QString extension = QLatin1Char('.') + suffixOf(job.output_name);
    // Lists of earlier versions hold titles that are no names.
    const QString title = nameFromTitle(job.title);
    const auto candidate = [&](const QString &counter) {
        return folder + fittingBaseName(title, counter + extension) + counter + extension;
    };
    QString path = candidate(QString());
    for (int n = 0; QFile::exists(path); ++n)
        path = candidate(QStringLiteral("_%1").arg(n));
    if (!QFile::rename(job.output_name, path))
        return false;
    job.output_name = path;
    return true;
}

bool jobfiles::removePartial(JobData &job)
{
    bool removed = removeFile(job.video_mame);
    if (job.output_format != 0)
        removed = removeFile(job.output_name);
    job.spend_time = 0;
    return removed;
}

bool jobfiles::removeAll(const JobData &job)
{
    if (job.video_state != JobState::Finished)
        removeFile(job.video_mame); // may never have come to exist
    return removeFile(job.output_name);
}
