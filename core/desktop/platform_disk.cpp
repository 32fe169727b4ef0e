#include "platform.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

// 0, or the system's reason.
static int reserve(int handle, qint64 offset, qint64 bytes)
{
    int result = 0;
    do {
        result = fallocate(handle, FALLOC_FL_KEEP_SIZE, offset, bytes);
    } while (result != 0 && errno == EINTR);
    return result == 0 ? 0 : errno;
}

static bool meansNoRoom(int error)
{
    return error == ENOSPC || error == EFBIG || error == EDQUOT;
}

// Reserving until it fails would leave the others without room for a moment.
static bool isMoreThanIsFree(int handle, qint64 end)
{
    struct stat file = {};
    struct statvfs disk = {};
    constexpr qint64 blockSize = 512; // of st_blocks, whatever the disk's is
    if (fstat(handle, &file) != 0 || fstatvfs(handle, &disk) != 0 || disk.f_blocks == 0)
        return false;
    const qint64 missing = end - file.st_blocks * blockSize;
    return missing > 0 && quint64(missing) > quint64(disk.f_bavail) * disk.f_frsize;
}

QString platform::reserveRoom(int handle, qint64 end, const std::function<bool()> &goOn)
{
    constexpr qint64 slice = 256 * 1024 * 1024; // in memory a fraction of a second
    constexpr qint64 sample = 4096;
    if (end <= 0)
        return QString();
    // Tells whether the file system can do it at all.
    int error = reserve(handle, 0, qMin(end, sample));
    if (error == 0 && isMoreThanIsFree(handle, end))
        error = ENOSPC;
    for (qint64 offset = 0; error == 0 && offset < end && goOn(); offset += slice)
        error = reserve(handle, offset, qMin(slice, end - offset));
    return meansNoRoom(error) ? qt_error_string(error) : QString();
}
