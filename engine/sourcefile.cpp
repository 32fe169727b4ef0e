#include "sourcefile.h"

#include "downloaderror.h"

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

bool SourceFile::open(const QString &path)
{
    close();
    m_file.setFileName(path);
    return done(m_file.open(QIODevice::ReadWrite | QIODevice::Unbuffered));
}

bool SourceFile::begin(const QString &path)
{
    close();
    m_file.setFileName(path);
    return done(m_file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered));
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
