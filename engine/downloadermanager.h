#pragma once

#include "httpjob.h"

#include <QHash>
#include <QObject>
#include <QTimer>

#include <memory>
#include <vector>

// The list widgets as the manager sees them: it pushes changes into the rows and never asks what
// they look like.
class JobView
{
public:
    virtual void insertJob(HttpJob *job, int row = -1) = 0; // -1 appends
    virtual bool updateJob(HttpJob *job) = 0;               // false: no row of that job
    virtual bool removeJob(HttpJob *job) = 0;

protected:
    ~JobView() = default;
};

// All jobs of the program. Owns every job for the whole run; removed jobs are only flagged.
// User-interface thread.
class DownloaderManager final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(DownloaderManager)

public:
    explicit DownloaderManager(const JobSurroundings &surroundings);
    ~DownloaderManager() override; // stops unfinished jobs and saves all
    static DownloaderManager *instance();
    static void destroyInstance();

    std::unique_ptr<HttpJob> newJob() const;         // empty
    HttpJob *addJob(const VideoInfo &info);          // created and started; owned by the manager
    void addLoadedJob(std::unique_ptr<HttpJob> job); // not started
    HttpJob *findJob(int id) const;                  // null: none that is not removed
    const std::vector<std::unique_ptr<HttpJob>> &jobs() const { return m_jobs; }

    bool startJob(int id);
    bool pauseJob(int id);
    bool removeJob(int id, bool deleteFiles);
    void startAll();
    void pauseAll();
    void resumeRunning();     // starts every job whose state is Start; once after loading
    bool saveAll();           // one row per job that is not removed; always true
    bool allFinished() const; // a paused job counts as unfinished

    void updateViews(JobView *downloadList, JobView *finishedList);
    void fillViews(JobView *downloadList, JobView *finishedList);

signals:
    void sigFinished(int nID);
    void sigAllFinished();
    // What is stored of the jobs differs from what was: worth a save now. At once when a job ends,
    // because its file has just got another name; otherwise once for all changes that happen before
    // the event loop runs again.
    void sigJobsChanged();

public slots:
    void onFinished(int nID);
    void noteChange(); // somebody changed a job's record himself

private:
    int nextId() const;
    void tellChanges();
    HttpJob *registerJob(std::unique_ptr<HttpJob> job);

    const JobSurroundings m_surroundings;
    bool m_startingMany = false;
    QTimer m_changed; // runs from the first change until it is told
    std::vector<std::unique_ptr<HttpJob>> m_jobs;
    QHash<int, HttpJob *> m_jobOfId; // the first of that id; every job of m_jobs
};
