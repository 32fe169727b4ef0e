#pragma once

#include "jobtable.h"

#include <QObject>
#include <QTimer>

class DownloaderManager;
class StorageThread;
class WebDatabase;

// Brings the manager's jobs into the stored list. User-interface thread: what has changed is found
// out here, and written on the storage thread. At most one save is under way; the next one looks
// for changes when it has ended.
class JobSaver final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(JobSaver)

public:
    // The thread outlives it, and the others every save. The database is opened on that thread;
    // only save() and saveLast() wait until what else was begun there is done.
    JobSaver(DownloaderManager &manager, WebDatabase &database, StorageThread &thread);
    ~JobSaver() override; // waits for a save that is under way

    // Waits for the disk, for a save that is under way as well. True: the jobs are on the disk as
    // they were at the call.
    bool save();
    // Does not wait: the jobs are on the disk as soon as they can be written. For a moment after
    // such a save, the longer the slower it was, no other begins: jobs that end together are stored
    // together. What fails is tried again by the next save, whoever asks for it.
    void saveSoon();
    // At the end of the program: unfinished jobs are stopped and stored in the state they have, so
    // that the next start goes on with them. Waits like save().
    bool saveLast();

signals:
    // The second save in a row has failed: a locked file is often free the next time. Not again
    // until one has succeeded.
    void sigSavingFails();

private:
    bool saveNow(int patience);
    void begin(int patience);
    bool end(); // waits for the save that is under way; true: it succeeded, or there was none

    DownloaderManager &m_manager;
    WebDatabase &m_database;
    StorageThread &m_thread;
    QTimer m_moment;         // runs after a save that saveSoon began
    bool m_due = false;      // when it is over
    bool m_underWay = false; // a save on the storage thread, which writes the next two
    bool m_saved = true;
    qint64 m_duration = 0; // milliseconds
    int m_number = 0;      // of the last save that was begun
    int m_failures = 0;    // in a row
};
