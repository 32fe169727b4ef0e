#pragma once

#include "jobtrouble.h"

#include <QFile>
#include <QString>

// The file that receives the bytes of a stream. What was appended is with the system when append
// returns, so that a count of it survives the program. An operation that gives false leaves its
// reason in error(). One thread at a time.
class SourceFile final
{
public:
    SourceFile() = default;
    ~SourceFile() { close(); }
    Q_DISABLE_COPY(SourceFile)

    // folder ends with a separator; extension as sourceExtension gives it.
    static QString pathFor(const QString &folder, const QString &guid, bool converted,
                           const QString &extension);
    // The DownloadError that stands for an error of a file.
    static qint32 downloadError(QFile::FileError error);

    bool open(const QString &path); // to go on with it
    // Afresh, in two steps. The first leaves what is there as it is: it asks for the room of a
    // file of that length, -1 when unknown. The second empties the file.
    bool prepare(const QString &path, qint64 length);
    bool empty();
    // False: the disk cannot hold a file of that length, and refusal() says why. A file system that
    // cannot tell is no reason to stop. What is not written is given back by close().
    bool reserve(qint64 length);
    // What lies behind the offset goes, and the next bytes are appended there.
    bool continueAt(qint64 offset);
    bool append(const QByteArray &bytes);
    bool flush();
    bool close(); // false: the system could not keep what was appended
    qint64 size() const { return m_file.size(); }
    QFile::FileError error() const { return m_error; }
    QString refusal() const { return m_refusal; } // empty: nothing was refused
    JobTrouble trouble() const;                   // the error, as a person is told it

private:
    bool done(bool success);

    QFile m_file;
    QFile::FileError m_error = QFile::NoError; // of the last operation that failed
    QString m_refusal;
    bool m_diskFull = false;
    qint64 m_reserved = 0; // length that room was asked for
};
