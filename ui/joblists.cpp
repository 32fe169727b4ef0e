#include "joblists.h"

#include "downloadermanager.h"

JobLists::JobLists(const DownloaderManager &manager, JobView &downloadList, JobView &finishedList)
    : m_manager(manager)
    , m_downloadList(downloadList)
    , m_finishedList(finishedList)
{
}

void JobLists::fillViews()
{
    for (const auto &job : m_manager.jobs()) {
        JobView &list =
            job->record.video_state == JobState::Finished ? m_finishedList : m_downloadList;
        list.insertJob(job.get(), -1);
    }
}

void JobLists::updateViews()
{
    for (const auto &job : m_manager.jobs()) {
        SharedFlags &changes = job->record.changeFlags;
        if (job->removed || changes.value() == 0)
            continue;
        if (job->record.video_state != JobState::Finished) {
            m_downloadList.updateJob(job.get());
        } else if (changes.test(StateChanged)) {
            m_downloadList.removeJob(job.get());
            m_finishedList.insertJob(job.get(), -1);
            changes.clear(StateChanged | ProgressChanged);
        } else {
            m_finishedList.updateJob(job.get());
        }
    }
}
