#include "platform.h"

#include <QStandardPaths>
#include <QUuid>

#include <chrono>

#include <sys/resource.h>

// What children get: some of them still use select(), which cannot tell files beyond 1024.
static rlim_t s_limitOfChildren = 0; // 0: as it is

void platform::allowManyOpenFiles()
{
    constexpr rlim_t enough = 65536;
    rlimit limit;
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    const rlim_t wanted = qMin(limit.rlim_max, enough);
    if (limit.rlim_cur >= wanted)
        return;
    const rlim_t before = limit.rlim_cur;
    limit.rlim_cur = wanted;
    if (setrlimit(RLIMIT_NOFILE, &limit) == 0) // with less, fewer jobs can run at once
        s_limitOfChildren = before;
}

void platform::ChildProcess::setupChildProcess()
{
    // Between fork and exec: only what a signal handler may do as well.
    rlimit limit;
    if (s_limitOfChildren == 0 || getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = s_limitOfChildren;
    setrlimit(RLIMIT_NOFILE, &limit);
}

bool platform::startDetached(const QString &program, const QStringList &arguments)
{
    // The toolkit has no such place for a detached process: the shell puts the limit down and
    // becomes the program.
    if (s_limitOfChildren == 0 || QStandardPaths::findExecutable(program).isEmpty())
        return QProcess::startDetached(program, arguments);
    const QString line = QStringLiteral("ulimit -Sn %1; exec \"$0\" \"$@\"").arg(s_limitOfChildren);
    return QProcess::startDetached(QStringLiteral("/bin/sh"),
                                   QStringList{QStringLiteral("-c"), line, program} + arguments);
}

QString platform::newGuid()
{
    return QUuid::createUuid().toString(QUuid::WithBraces).toUpper();
}

quint32 platform::tickCount()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<quint32>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}
