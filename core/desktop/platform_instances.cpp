#include "platform.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

static bool isOwnFolder(const QString &path)
{
    struct stat status = {};
    return !path.isEmpty() && lstat(QFile::encodeName(path).constData(), &status) == 0 &&
           S_ISDIR(status.st_mode) && status.st_uid == geteuid() &&
           (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

// A folder for locks and segments that belongs to this user alone. The session's own may be missing
// or, after a change of user, somebody else's.
static QString runtimeFolder()
{
    const QString session = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (isOwnFolder(session))
        return session + QLatin1Char('/');
    // No folder for temporary files: the path would begin at the root.
    const QString temporary = QDir::tempPath();
    const QString own =
        temporary + QStringLiteral("/reelkeeper-runtime-") + QString::number(geteuid());
    if (!temporary.isEmpty()) {
        mkdir(QFile::encodeName(own).constData(), S_IRWXU); // it may be there already
        if (isOwnFolder(own))
            return own + QLatin1Char('/');
    }
    const QString data = platform::applicationDataFolder();
    QDir().mkpath(data);
    return data + QLatin1Char('/');
}

static QString runtimePath(const QString &name)
{
    QString fileName = name;
    fileName.replace(QLatin1Char('/'), QLatin1Char('_'));
    return runtimeFolder() + fileName;
}

static int openLockFile(const QString &path)
{
    return open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC,
                S_IRUSR | S_IWUSR);
}

void platform::holdNamedMutex(const QString &name)
{
    // Never closed: the system releases it with the process. Shared, because every instance holds
    // it, as with a named mutex that nobody waits for.
    const int file = openLockFile(runtimePath(name) + QStringLiteral(".lock"));
    if (file >= 0)
        flock(file, LOCK_SH | LOCK_NB);
}

QString platform::instanceSegmentKey(const QString &title)
{
    return runtimePath(title) + QStringLiteral(".segment");
}

// A parent that is killed between fork and exec can leave a child that waits for it for ever. Locks
// of flock() would be that child's as well, and it would hold the segment: no start would get past
// it.
static bool setLock(int file, short type)
{
    struct flock whole = {};
    whole.l_type = type;
    return fcntl(file, F_SETLK, &whole) == 0;
}

void platform::keepFromChildren(void *memory, int size)
{
    madvise(memory, static_cast<size_t>(size), MADV_DONTFORK); // the same as before if it fails
}

platform::ProcessLock::ProcessLock(const QString &key)
    : m_handle(openLockFile(key + QStringLiteral(".lock")))
{
}

platform::ProcessLock::~ProcessLock()
{
    close(m_handle);
}

bool platform::ProcessLock::lock(int milliseconds)
{
    QElapsedTimer waited;
    waited.start();
    while (!setLock(m_handle, F_WRLCK)) {
        // No file, or a file system without locks: better unlocked than never.
        if (errno != EAGAIN && errno != EACCES)
            return true;
        if (waited.elapsed() >= milliseconds)
            return false;
        QThread::msleep(5);
    }
    return true;
}

void platform::ProcessLock::unlock()
{
    setLock(m_handle, F_UNLCK);
}

bool platform::ProcessLock::setNote(const QByteArray &note)
{
    return ftruncate(m_handle, 0) == 0 &&
           pwrite(m_handle, note.constData(), static_cast<size_t>(note.size()), 0) == note.size();
}

QByteArray platform::ProcessLock::note() const
{
    char bytes[4096];
    const ssize_t count = pread(m_handle, bytes, sizeof bytes, 0);
    return {bytes, static_cast<int>(qMax<ssize_t>(count, 0))};
}
