#include "sourcefile.h"

#include "downloaderror.h"
#include "platform.h"

#include <QStorageInfo>
#include <QThread>

#include <cerrno>

QString SourceFile::pathFor(const QString &folder, const QString &guid, bool converted,
                            const QString &extension)
{
    const QString mark = converted ? QStringLiteral("_temp") : QString();
    return folder + guid + mark + QLatin1Char('.') + extension;
}

qint32 SourceFile::downloadError(QFile::FileError error)
{
    switch (error) {
    case QFile::WriteError:
        return FileWriteError;
    case QFile::OpenError:
        return FileOpenError;
    case QFile::PositionError:
        return FilePositionError;
    case QFile::ResizeError:
        return FileResizeError;
    case QFile::PermissionsError:
        return FilePermissionsError;
    default:
        return FileError;
    }
}

JobTrouble SourceFile::trouble() const
{
    if (m_diskFull || m_refusal == qt_error_string(ENOSPC))
        return {JobTrouble::DiskFull, QString()};
    const bool isNamed = m_refusal.isEmpty() && m_file.error() != QFile::NoError;
    return {downloadError(m_error), isNamed ? m_file.errorString() : m_refusal};
}

bool SourceFile::open(const QString &path)
{
    close();
    m_refusal.clear();
    m_diskFull = false;
    m_file.setFileName(path);
    return done(m_file.open(QIODevice::ReadWrite | QIODevice::Unbuffered));
}

bool SourceFile::prepare(const QString &path, qint64 length)
{
    const bool isNew = !QFile::exists(path);
    if (!open(path))
        return false;
    if (reserve(length))
        return true;
    close();
    if (isNew)
        QFile::remove(path); // of no use to anybody, and small
    return false;
}

bool SourceFile::empty()
{
    if (m_file.size() == 0)
        return continueAt(0);
    // This gives the room back as well. Whoever takes it in between makes a write fail.
    const qint64 length = m_reserved;
    if (!continueAt(0))
        return false;
    if (!reserve(length))
        m_refusal.clear();
    return true;
}

bool SourceFile::reserve(qint64 length)
{
    m_reserved = qMax(m_reserved, length);
    const QThread *thread = QThread::currentThread();
    m_refusal = platform::reserveRoom(m_file.handle(), length,
                                      [thread] { return !thread->isInterruptionRequested(); });
    if (m_refusal.isEmpty())
        return true;
    m_error = QFile::WriteError;
    return false;
}

bool SourceFile::continueAt(qint64 offset)
{
    if (m_file.size() > offset && !m_file.resize(offset)) {
        m_error = QFile::ResizeError;
        return false;
    }
    return done(m_file.seek(offset));
}

bool SourceFile::append(const QByteArray &bytes)
{
    // A write that took only a part, as at the end of the disk, leaves no error behind; one that
    // took nothing there is called by another name.
    if (m_file.write(bytes) == bytes.size())
        return true;
    m_diskFull = m_file.error() == QFile::ResourceError ||
                 QStorageInfo(m_file.fileName()).bytesAvailable() < bytes.size();
    m_error = QFile::WriteError;
    return false;
}

bool SourceFile::flush()
{
    return m_file.flush();
}

bool SourceFile::close()
{
    if (!m_file.isOpen())
        return true;
    if (m_reserved > m_file.size())
        m_file.resize(m_file.size()); // room that is not given back costs nothing but room
    m_reserved = 0;
    m_file.close();
    // Some file systems tell only now that a write has failed.
    if (m_file.error() == QFile::NoError)
        return true;
    m_error = QFile::WriteError;
    return false;
}

bool SourceFile::done(bool success)
{
    if (!success)
        m_error = m_file.error();
    return success;
}
