#pragma once

#include "httpjob.h"

#include <QHash>
#include <QObject>
#include <QTimer>
#include <QVector>

#include <functional>
#include <memory>
#include <vector>

// All jobs of the program. Owns every job for the whole run; removed jobs are only flagged.
// User-interface thread.
class DownloaderManager final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(DownloaderManager)

public:
    explicit DownloaderManager(const JobSurroundings &surroundings);
    ~DownloaderManager() override; // stops unfinished jobs; they are to be saved before
    static DownloaderManager *instance();
    static void destroyInstance();

    std::unique_ptr<HttpJob> newJob() const;         // empty
    HttpJob *addJob(const VideoInfo &info);          // created and started; owned by the manager
    void addLoadedJob(std::unique_ptr<HttpJob> job); // not started
    // Makes a job, lets fill put what is stored of it into its record, and adds it when fill says
    // so. The result is fill's.
    bool loadJob(const std::function<bool(JobRecord &, const OutputProfileManager &)> &fill);
    HttpJob *findJob(int id) const; // the first that is not removed; null: none
    const std::vector<std::unique_ptr<HttpJob>> &jobs() const { return m_jobs; }
    std::vector<const JobRecord *> records() const; // of the jobs that are not removed, in order

    bool startJob(int id);
    bool pauseJob(int id);
    bool removeJob(int id, bool deleteFiles);
    void startAll();
    void pauseAll();
    void resumeRunning();     // starts every job whose state is Start; once after loading
    void stopAll();           // every unfinished job ends its work and keeps its state
    bool allFinished() const; // a paused job counts as unfinished

signals:
    void sigFinished(int nID);
    void sigAllFinished(); // no job is left to end, nor about to be started
    // What is stored of the jobs differs from what was: worth a save now. At once when a job ends,
    // because its file has just got another name; otherwise once for all changes that happen before
    // the event loop runs again.
    void sigJobsChanged();

public slots:
    void onFinished(int nID);
    void noteChange(); // somebody changed a job's record himself

private:
    int nextId() const { return m_largestId + 1; } // never again what a removed job had
    void tellChanges();
    HttpJob *registerJob(std::unique_ptr<HttpJob> job);
    template <typename Test>
    void startEach(Test test);

    const JobSurroundings m_surroundings;
    bool m_startingMany = false;
    bool m_endedMeanwhile = false; // a job, while many were being started
    bool m_stopped = false;
    int m_largestId = 0;
    QTimer m_changed; // runs from the first change until it is told
    std::vector<std::unique_ptr<HttpJob>> m_jobs;
    QHash<int, HttpJob *> m_jobOfId; // the first of that id that is not removed, else any
    QHash<int, QVector<HttpJob *>> m_laterOfId; // a damaged list may hold an id more than once
};
