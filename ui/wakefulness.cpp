#include "wakefulness.h"

#include "downloadermanager.h"

#include <algorithm>

Wakefulness::Wakefulness(const DownloaderManager &manager)
    : m_manager(manager)
{
    connect(&manager, &DownloaderManager::sigJobsChanged, this, &Wakefulness::follow);
    follow();
}

void Wakefulness::follow()
{
    const auto &jobs = m_manager.jobs();
    const bool needed = std::any_of(jobs.begin(), jobs.end(), [](const auto &job) {
        return !job->removed && job->isRunning();
    });
    if (!needed)
        m_lock.reset();
    else if (!m_lock)
        m_lock = std::make_unique<platform::WakeLock>(tr("Downloading videos"));
}
