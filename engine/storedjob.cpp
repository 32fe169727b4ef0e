#include "storedjob.h"

#include "jobdata.h"

// Nothing is fetched for a finished job any more.
static bool needsValidator(const JobData &job)
{
    return job.video_state != JobState::Finished && !job.guid.isEmpty();
}

// The validator after the counts: one that is stored is not older than they are.
StoredJob::StoredJob(const JobData &job)
    : row(job)
    , validator(needsValidator(job) ? job.validator.text() : QString())
{
}

bool StoredJob::isOf(const JobData &job) const
{
    return row.isOf(job) &&
           (needsValidator(job) ? job.validator.is(validator) : validator.isEmpty());
}
