#pragma once

class DownloaderManager;
class HttpJob;

// A list of jobs as its keeper sees it: changes are pushed into the rows, and it is never asked
// what they look like.
class JobView
{
public:
    virtual void insertJob(HttpJob *job, int row = -1) = 0; // -1 appends
    virtual bool updateJob(HttpJob *job) = 0;               // false: no row of that job
    virtual bool removeJob(HttpJob *job) = 0;

protected:
    ~JobView() = default;
};

// Keeps the two lists in step with the manager's jobs. User-interface thread.
class JobLists final
{
public:
    JobLists(const DownloaderManager &manager, JobView &downloadList, JobView &finishedList);

    void fillViews();   // once, after the stored jobs have been read
    void updateViews(); // what changed since; a job that finished moves to the other list

private:
    const DownloaderManager &m_manager;
    JobView &m_downloadList;
    JobView &m_finishedList;
};
