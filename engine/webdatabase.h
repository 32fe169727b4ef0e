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

    bool Init();                           // false: the program cannot keep jobs
    bool Read(DownloaderManager *manager); // false only when the SELECT fails
    bool Recreate();                       // a new, empty database in place of the file
    bool Save(DownloaderManager *manager); // all jobs in one transaction

private:
    void connectTo(const QString &path);
    void closeConnection();
    bool OpenDatabaseFile(const QString &path);
    bool CreateDatabaseFile(const QString &path);
    bool WriteVersion();
    bool DeleteAll();
    void LogError(const QString &message, const QSqlError &error);

    qint32 m_writtenVersion = 0;
    QSqlDatabase m_db;
    qint32 m_version = 0;
    QString m_path;
};
