#pragma once

#include <QSqlDatabase>
#include <QString>

class DownloaderManager;
class QSqlError;

// Keeps the job list in one SQLite file. Uses the default connection. User-interface thread.
class WebDatabase final
{
public:
    WebDatabase();
    ~WebDatabase();
    WebDatabase(const WebDatabase &) = delete;
    WebDatabase &operator=(const WebDatabase &) = delete;
    static WebDatabase *instance();
    static void destroyInstance();

    static constexpr int quickPatience = 500;     // while somebody works with the window
    static constexpr int thoroughPatience = 2000; // where a failure costs something

    // A file that is damaged is put aside beside itself; one that cannot be read for now (locked by
    // another program, no permission, a failing disk) is left alone, and Init and Recreate fail.
    bool Init();                           // false: the program cannot keep jobs
    bool Read(DownloaderManager *manager); // false only when the SELECT fails
    bool Recreate();                       // a new, empty database in place of the file
    // All jobs in one transaction. patience: how long another program may keep the file locked, in
    // milliseconds; the caller waits.
    bool Save(DownloaderManager *manager, int patience = quickPatience);

private:
    void connectTo(const QString &path);
    void closeConnection();
    bool openOrCreate();
    bool OpenDatabaseFile(const QString &path);
    bool CreateDatabaseFile(const QString &path);
    bool WriteVersion();
    bool DeleteAll();
    bool WriteAll(DownloaderManager *manager);
    bool IsSound(const DownloaderManager *manager);
    void LogError(const QString &message, const QSqlError &error);

    qint32 m_writtenVersion = 0;
    QSqlDatabase m_db;
    qint32 m_version = 0;
    QString m_path;
    bool m_unread = false;  // the list in the file is not, or not wholly, in memory
    bool m_damaged = false; // what was read last is no job list, and will never be one
};
