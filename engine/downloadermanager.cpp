#include "downloadermanager.h"

#include "cjslib.h"
#include "instance.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "webdatabase.h"

#include <QSqlQuery>

DownloaderManager::DownloaderManager(const JobSurroundings &surroundings)
    : m_surroundings(surroundings)
{
    m_changed.setSingleShot(true);
    m_changed.setInterval(0);
    connect(&m_changed, &QTimer::timeout, this, &DownloaderManager::sigJobsChanged);
}

DownloaderManager::~DownloaderManager()
{
    for (const auto &job : m_jobs) {
        const JobState state = job->record.video_state;
        if (state != JobState::Finished && state != JobState::Errored)
            job->stop();
    }
    // A failure is in the log; there is nobody left to tell.
    WebDatabase::instance()->Save(this, WebDatabase::thoroughPatience);
    WebDatabase::destroyInstance();
}

DownloaderManager *DownloaderManager::instance()
{
    return ProcessInstance<DownloaderManager>::get(JobSurroundings{
        *Options::instance(), *OutputProfileManager::instance(), *CJSLib::instance(), {}});
}

void DownloaderManager::destroyInstance()
{
    ProcessInstance<DownloaderManager>::destroy();
}

int DownloaderManager::nextId() const
{
    int largest = 0;
    for (const auto &job : m_jobs)
        largest = qMax(largest, job->record.id);
    return largest + 1;
}

std::unique_ptr<HttpJob> DownloaderManager::newJob() const
{
    return std::make_unique<HttpJob>(m_surroundings);
}

HttpJob *DownloaderManager::registerJob(std::unique_ptr<HttpJob> job)
{
    HttpJob *registered = job.get();
    m_jobs.push_back(std::move(job));
    if (!m_jobOfId.contains(registered->record.id))
        m_jobOfId.insert(registered->record.id, registered);
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
    const JobState state = job->record.video_state;
    if (state != JobState::Finished && state != JobState::Errored)
        job->stop();
    job->remove(deleteFiles);
    job->removed = true;
    noteChange();
    return true;
}

void DownloaderManager::startAll()
{
    m_startingMany = true;
    // By index: a job that ends at once is announced, and whoever hears it may add another.
    for (std::size_t i = 0; i < m_jobs.size(); ++i) {
        HttpJob *job = m_jobs.at(i).get();
        if (!job->removed && job->canStart())
            job->start();
    }
    m_startingMany = false;
    tellChanges();
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
    m_startingMany = true;
    for (std::size_t i = 0; i < m_jobs.size(); ++i) {
        HttpJob *job = m_jobs.at(i).get();
        if (!job->removed && job->isRunning())
            job->start();
    }
    m_startingMany = false;
    if (m_changed.isActive())
        tellChanges();
}

bool DownloaderManager::saveAll()
{
    QSqlQuery query;
    const bool prepared = query.prepare(JobRecord::insertStatement());
    for (const auto &job : m_jobs) {
        if (job->removed)
            continue;
        // A failed row is logged and does not stop the others.
        if (prepared)
            job->record.insertRow(query);
        else
            job->record.insertRow();
    }
    return true;
}

bool DownloaderManager::allFinished() const
{
    for (const auto &job : m_jobs) {
        const JobState state = job->record.video_state;
        if (!job->removed && state != JobState::Finished && state != JobState::Errored)
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
    if (allFinished())
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

void DownloaderManager::fillViews(JobView *downloadList, JobView *finishedList)
{
    for (const auto &job : m_jobs) {
        JobView *list = job->record.video_state == JobState::Finished ? finishedList : downloadList;
        list->insertJob(job.get(), -1);
    }
}

void DownloaderManager::updateViews(JobView *downloadList, JobView *finishedList)
{
    for (const auto &job : m_jobs) {
        SharedFlags &changes = job->record.changeFlags;
        if (job->removed || changes.value() == 0)
            continue;
        if (job->record.video_state != JobState::Finished) {
            downloadList->updateJob(job.get());
        } else if (changes.test(StateChanged)) {
            downloadList->removeJob(job.get());
            finishedList->insertJob(job.get(), -1);
            changes.clear(StateChanged | ProgressChanged);
        } else {
            finishedList->updateJob(job.get());
        }
    }
}
