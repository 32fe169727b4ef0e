#pragma once

#include <QObject>
#include <QTimer>

class DownloaderManager;
class WebDatabase;

// Brings the manager's jobs into the stored list. User-interface thread.
class JobSaver final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(JobSaver)

public:
    JobSaver(DownloaderManager &manager, WebDatabase &database); // both outlive it

    bool save();
    // At once, but for a moment after a save, the longer the slower that was: jobs that end
    // together are stored together.
    void saveSoon();
    // At the end of the program: unfinished jobs are stopped and stored in the state they have, so
    // that the next start goes on with them.
    bool saveLast();

signals:
    // The second save in a row has failed: a locked file is often free the next time. Not again
    // until one has succeeded.
    void sigSavingFails();

private:
    DownloaderManager &m_manager;
    WebDatabase &m_database;
    QTimer m_moment;    // runs after a save that saveSoon made
    bool m_due = false; // when it is over
    int m_failures = 0; // in a row
};
