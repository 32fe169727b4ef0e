#pragma once

#include <QByteArray>
#include <QSqlDatabase>
#include <QString>

class QSqlError;

// What can be done with the file of the job list.
enum class FileState {
    Usable,
    Missing,  // nothing of that name
    Withheld, // locked, forbidden, on a failing disk: may be over the next time, not to be touched
    Damaged,  // no job list, and will never be one
};

// The file that holds the job list, and the default connection to it. The connection belongs to the
// thread that opened it, and so does everything but the path.
class JobListFile final
{
public:
    explicit JobListFile(const QString &path);
    ~JobListFile(); // closes
    Q_DISABLE_COPY(JobListFile)

    const QString &path() const { return m_path; }
    QSqlDatabase database() const { return m_database; }

    // Opens the file where there is one that has the table. patience: how long a statement waits
    // for another program that has locked the file, in milliseconds.
    FileState open(int patience);
    // Opens a new file without any table.
    FileState create(int patience);
    void close();
    void setPatience(int milliseconds);
    // A number that another program's writing into the open file changes, this one's does not. -1:
    // it cannot be told now.
    qint64 foreignWrites() const;
    // It is open, and no other file has taken its place meanwhile.
    bool isInPlace() const;
    // Moves the file, closed for that, out of the way under that name.
    bool putAside(const QString &reason);
    QString asideName(const QString &reason) const; // full path; nothing is there yet

    // What the error of a statement says of the file. aboutTable: the statement names the table and
    // its columns, so that one that cannot be understood means another table.
    static FileState judge(const QSqlError &error, bool aboutTable = false);

private:
    bool connectToFile(int patience);

    const QString m_path;
    QSqlDatabase m_database;
    QByteArray m_identity; // of the file that was opened
};
