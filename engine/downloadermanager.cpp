#include "downloadermanager.h"

#include "appinfo.h"
#include "cjslib.h"
#include "instance.h"
#include "options.h"
#include "outputprofilemanager.h"

#include <utility>

static bool hasEnded(const HttpJob &job)
{
    const JobState state = job.record.video_state;
    return state == JobState::Finished || state == JobState::Errored;
}

DownloaderManager::DownloaderManager(const JobSurroundings &surroundings)
    : m_surroundings(surroundings)
{
    m_changed.setSingleShot(true);
    m_changed.setInterval(0);
    connect(&m_changed, &QTimer::timeout, this, &DownloaderManager::sigJobsChanged);
}

DownloaderManager::~DownloaderManager()
{
    stopAll();
}

DownloaderManager *DownloaderManager::instance()
{
    return ProcessInstance<DownloaderManager>::get(
        JobSurroundings{*Options::instance(),
                        *OutputProfileManager::instance(),
                        *CJSLib::instance(),
                        {},
                        AppInfo::instance()->secureHosts});
}

void DownloaderManager::destroyInstance()
{
    ProcessInstance<DownloaderManager>::destroy();
}

std::unique_ptr<HttpJob> DownloaderManager::newJob() const
{
    return std::make_unique<HttpJob>(m_surroundings);
}

HttpJob *DownloaderManager::registerJob(std::unique_ptr<HttpJob> job)
{
    HttpJob *registered = job.get();
    m_jobs.push_back(std::move(job));
    const int id = registered->record.id;
    // A damaged list may hold one that leaves none above it.
    constexpr int largestSensible = 1 << 30;
    if (id <= largestSensible)
        m_largestId = qMax(m_largestId, id);
    if (m_jobOfId.contains(id))
        m_laterOfId[id].append(registered);
    else
        m_jobOfId.insert(id, registered);
    // A finished job has nothing to say any more, and of a long list most are.
    if (registered->record.video_state == JobState::Finished)
        return registered;
    connect(registered, &HttpJob::sigFinished, this, &DownloaderManager::onFinished);
    // A list that does not know the file's name could not go on with it after a crash.
    connect(registered, &HttpJob::sigSourceCreated, this, &DownloaderManager::noteChange);
    return registered;
}

HttpJob *DownloaderManager::addJob(const VideoInfo &info)
{
    auto job = newJob();
    job->init(info, nextId());
    HttpJob *registered = registerJob(std::move(job));
    registered->start();
    noteChange();
    return registered;
}

void DownloaderManager::addLoadedJob(std::unique_ptr<HttpJob> job)
{
    registerJob(std::move(job));
}

bool DownloaderManager::loadJob(
    const std::function<bool(JobRecord &, const OutputProfileManager &)> &fill)
{
    auto job = newJob();
    if (!fill(job->record, m_surroundings.profiles))
        return false;
    addLoadedJob(std::move(job));
    return true;
}

HttpJob *DownloaderManager::findJob(int id) const
{
    HttpJob *job = m_jobOfId.value(id);
    return job && !job->removed ? job : nullptr;
}

bool DownloaderManager::startJob(int id)
{
    HttpJob *job = findJob(id);
    if (!job)
        return false;
    if (job->canStart()) {
        job->start();
        noteChange();
    }
    return true;
}

bool DownloaderManager::pauseJob(int id)
{
    HttpJob *job = findJob(id);
    if (!job)
        return false;
    if (job->isRunning()) {
        job->pause();
        noteChange();
    }
    return true;
}

bool DownloaderManager::removeJob(int id, bool deleteFiles)
{
    HttpJob *job = m_jobOfId.value(id);
    if (!job)
        return false;
    if (!hasEnded(*job))
        job->stop();
    job->remove(deleteFiles);
    job->removed = true;
    const auto later = m_laterOfId.find(id);
    if (later != m_laterOfId.end()) {
        m_jobOfId.insert(id, later->takeFirst());
        if (later->isEmpty())
            m_laterOfId.erase(later);
    }
    noteChange();
    return true;
}

template <typename Test>
void DownloaderManager::startEach(Test test)
{
    m_startingMany = true;
    m_endedMeanwhile = false;
    // By index: a job that ends at once is announced, and whoever hears it may add another.
    for (std::size_t i = 0; i < m_jobs.size(); ++i) {
        HttpJob *job = m_jobs.at(i).get();
        if (!job->removed && test(*job))
            job->start();
    }
    m_startingMany = false;
    if (m_changed.isActive())
        tellChanges();
    // One that ended at once was not the last as long as others were still to be started.
    if (m_endedMeanwhile && allFinished())
        emit sigAllFinished();
}

void DownloaderManager::startAll()
{
    noteChange();
    startEach([](const HttpJob &job) { return job.canStart(); });
}

void DownloaderManager::pauseAll()
{
    for (std::size_t i = 0; i < m_jobs.size(); ++i) {
        HttpJob *job = m_jobs.at(i).get();
        if (!job->removed && job->isRunning())
            job->pause();
    }
    noteChange();
}

void DownloaderManager::resumeRunning()
{
    startEach([](const HttpJob &job) { return job.isRunning(); });
}

void DownloaderManager::stopAll()
{
    if (std::exchange(m_stopped, true))
        return;
    for (const auto &job : m_jobs) {
        if (!hasEnded(*job))
            job->stop();
    }
}

std::vector<const JobRecord *> DownloaderManager::records() const
{
    std::vector<const JobRecord *> records;
    records.reserve(m_jobs.size());
    for (const auto &job : m_jobs) {
        if (!job->removed)
            records.push_back(&job->record);
    }
    return records;
}

bool DownloaderManager::allFinished() const
{
    for (const auto &job : m_jobs) {
        if (!job->removed && !hasEnded(*job))
            return false;
    }
    return true;
}

void DownloaderManager::onFinished(int nID)
{
    if (m_startingMany)
        noteChange();
    else
        tellChanges();
    emit sigFinished(nID);
    if (m_startingMany)
        m_endedMeanwhile = true;
    else if (allFinished())
        emit sigAllFinished();
}

void DownloaderManager::tellChanges()
{
    m_changed.stop();
    emit sigJobsChanged();
}

void DownloaderManager::noteChange()
{
    if (!m_changed.isActive())
        m_changed.start();
}
