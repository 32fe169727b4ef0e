#pragma once

#include "joblistfile.h"
#include "jobtable.h"

#include <functional>

class OutputProfileManager;

// Keeps the job list in one SQLite file. Uses the default connection, which belongs to the thread
// that calls Init: Read, Recreate, Save and the destruction happen there. What does not touch the
// file, as said below, may be called by another thread while none of these is at work.
class WebDatabase final
{
public:
    explicit WebDatabase(const QString &folder); // ends with a separator; made when it is missing
    Q_DISABLE_COPY(WebDatabase)
    static WebDatabase *instance();
    static void destroyInstance();

    // Puts the row that is being read into a record; true when the job stays in the list.
    using FillRecord = std::function<bool(JobRecord &, const OutputProfileManager &)>;
    // Is called for every stored job: makes one, has it filled and keeps it, or drops it (false).
    using TakeJob = std::function<bool(const FillRecord &)>;
    using Records = JobTable::Records;

    static constexpr int quickPatience = 500;     // while somebody works with the window
    static constexpr int thoroughPatience = 2000; // where a failure costs something

    // A file that is damaged is put aside beside itself. One that cannot be used for now is left
    // alone: Init and Recreate fail then, and so does Save until the list in it has been read.
    bool Init();                       // false: the program cannot keep jobs
    bool Read(const TakeJob &takeJob); // false only when the SELECT fails
    // The halves of Read: the file, and without touching it the jobs, of which there may be some
    // even where the file could not be read to its end. The list counts as read after both.
    bool ReadRows();
    void TakeRows(const TakeJob &takeJob);
    bool Recreate(); // a new, empty list in place of a damaged or lost one
    // Leaves the records in the file, in that order, in one transaction; those whose row fails are
    // left out. Writes what has changed since the last time, nothing for no change, and all of it
    // where the file may hold something else. A file that was taken away meanwhile is made anew,
    // one that has taken its place put aside. patience: how long another program may keep the file
    // locked, in milliseconds; the caller waits. True: it has been handed to the disk for good.
    bool Save(const Records &records, int patience = quickPatience);
    // The halves of Save, the first of which does not touch the file. No other save in between.
    JobTable::Difference differenceTo(const Records &records) const
    {
        return m_table.differenceTo(records);
    }
    bool Save(JobTable::Difference difference, int patience);

    // What was wrong with the file when one of the above failed. These do not touch it.
    FileState state() const { return m_state; }
    const QString &path() const { return m_file.path(); }
    QString asideName() const; // the path that a damaged file gets next

private:
    bool OpenDatabaseFile();
    bool CreateDatabaseFile();
    bool bringBack();
    bool WriteVersion();
    bool DeleteAll();
    bool begin();
    bool commit();
    bool WriteAll();
    bool hasIndexOf(const JobTable &table) const;
    bool holds(std::size_t rows);
    void LogError(const QString &message, const QSqlError &error);

    const QString m_folder;
    JobListFile m_file;
    JobTable m_table;
    qint64 m_foreignWrites = -1; // when m_table was in the file
    qint32 m_writtenVersion = 0;
    qint32 m_version = 0;
    FileState m_state = FileState::Missing;
    bool m_rowsRead = false; // all of them are in m_table
    bool m_unread = true;    // the list in the file is not, or not wholly, in memory
};
