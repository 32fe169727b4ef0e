#include "platform.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDBusUnixFileDescriptor>
#include <QDesktopServices>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileDialog>
#include <QGuiApplication>
#include <QMimeDatabase>
#include <QPointer>
#include <QProcess>
#include <QRunnable>
#include <QSocketNotifier>
#include <QStandardPaths>
#include <QThread>
#include <QThreadPool>
#include <QTimer>
#include <QUrl>
#include <QUuid>
#include <QWidget>

#include <cerrno>
#include <chrono>
#include <csignal>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
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

void platform::allowManyOpenFiles()
{
    constexpr rlim_t enough = 65536;
    rlimit limit;
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    const rlim_t wanted = qMin(limit.rlim_max, enough);
    if (limit.rlim_cur >= wanted)
        return;
    limit.rlim_cur = wanted;
    setrlimit(RLIMIT_NOFILE, &limit); // with less, fewer jobs can run at once
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

platform::ProcessLock::ProcessLock(const QString &key)
    : m_handle(openLockFile(key + QStringLiteral(".lock")))
{
}

platform::ProcessLock::~ProcessLock()
{
    if (m_handle >= 0)
        close(m_handle);
}

bool platform::ProcessLock::lock(int milliseconds)
{
    QElapsedTimer waited;
    waited.start();
    while (m_handle >= 0) {
        if (flock(m_handle, LOCK_EX | LOCK_NB) == 0)
            return true;
        if ((errno != EWOULDBLOCK && errno != EINTR) || waited.elapsed() >= milliseconds)
            return false;
        QThread::msleep(5);
    }
    return true; // nothing to lock with: better unlocked than never
}

void platform::ProcessLock::unlock()
{
    if (m_handle >= 0)
        flock(m_handle, LOCK_UN);
}

static int s_signalPipe[2] = {-1, -1};

static void onTerminationSignal(int)
{
    const int savedError = errno;
    const char byte = 0;
    // A full pipe already holds the same news.
    [[maybe_unused]] const ssize_t written = write(s_signalPipe[1], &byte, 1);
    errno = savedError;
}

// Becomes active in the event loop once a termination signal has arrived.
static QSocketNotifier *signalNotifier()
{
    static QPointer<QSocketNotifier> notifier;
    if (notifier)
        return notifier;
    if (s_signalPipe[0] < 0 && pipe2(s_signalPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return nullptr;
    notifier = new QSocketNotifier(s_signalPipe[0], QSocketNotifier::Read, qApp);
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, []() {
        char bytes[64];
        while (read(s_signalPipe[0], bytes, sizeof bytes) > 0) {
        }
    });
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        struct sigaction action = {};
        // Started with nohup: the program outlives its terminal.
        if (number == SIGHUP && sigaction(number, nullptr, &action) == 0 &&
            action.sa_handler == SIG_IGN)
            continue;
        action = {};
        action.sa_handler = onTerminationSignal;
        action.sa_flags = SA_RESTART;
        sigaction(number, &action, nullptr);
    }
    return notifier;
}

void platform::watchSessionEnd(QObject *context, const std::function<void()> &handler)
{
    QGuiApplication::setFallbackSessionManagementEnabled(false);
    QObject::connect(qGuiApp, &QGuiApplication::commitDataRequest, context, handler);
    if (QSocketNotifier *notifier = signalNotifier())
        QObject::connect(notifier, &QSocketNotifier::activated, context, handler);
}

void platform::activateWindow(QWidget *window)
{
    window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
    window->show();
    window->raise();
    window->activateWindow();
}

QString platform::documentsFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
}

QString platform::videosFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::MoviesLocation);
}

QString platform::applicationDataFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
}

bool platform::createPrivateFile(const QString &path)
{
    const int handle = open(QFile::encodeName(path).constData(),
                            O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (handle >= 0)
        close(handle);
    return handle >= 0;
}

bool platform::removeFile(const QString &path)
{
    // Taking a name away is quick; giving back the blocks of gigabytes is not, and happens when the
    // last one who has the file open closes it.
    const int handle = open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    const bool removed = QFile::remove(path);
    if (handle >= 0)
        QThreadPool::globalInstance()->start(QRunnable::create([handle] { close(handle); }));
    return removed;
}

bool platform::openFolder(const QString &path)
{
    return QDesktopServices::openUrl(QUrl::fromLocalFile(path)) ||
           QProcess::startDetached(QStringLiteral("xdg-open"), {path});
}

// False only when the desktop says so; an answer that is late or fails counts as yes.
static bool hasProgramFor(const QString &path)
{
    constexpr int patience = 2000; // milliseconds
    QProcess query;
    // The window stays alive while the desktop looks it up.
    QEventLoop loop;
    QObject::connect(&query, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), &loop,
                     &QEventLoop::quit);
    QObject::connect(&query, &QProcess::errorOccurred, &loop, &QEventLoop::quit);
    QTimer::singleShot(patience, &loop, &QEventLoop::quit);
    query.start(QStringLiteral("xdg-mime"),
                {QStringLiteral("query"), QStringLiteral("default"),
                 QMimeDatabase().mimeTypeForFile(path).name()},
                QIODevice::ReadOnly);
    if (query.state() != QProcess::NotRunning)
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    if (query.state() != QProcess::NotRunning) {
        query.kill();
        query.waitForFinished(patience); // killed: at once
        return true;
    }
    return query.error() == QProcess::FailedToStart || query.exitStatus() != QProcess::NormalExit ||
           query.exitCode() != 0 || !query.readAllStandardOutput().trimmed().isEmpty();
}

platform::OpenResult platform::openFile(const QString &path)
{
    if (!QFile::exists(path))
        return OpenResult::Failed;
    if (!hasProgramFor(path))
        return OpenResult::NoProgram;
    return openFolder(path) ? OpenResult::Opened : OpenResult::Failed;
}

bool platform::chooseProgramFor(const QString &path)
{
    constexpr int patience = 3000; // milliseconds
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.portal.Desktop"),
        QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.OpenURI"), QStringLiteral("OpenFile"));
    call << QString() << QVariant::fromValue(QDBusUnixFileDescriptor(file.handle()))
         << QVariantMap{{QStringLiteral("ask"), true}};
    // The reply only names the request; the chooser itself stays open for as long as it likes.
    const QDBusPendingCall reply = QDBusConnection::sessionBus().asyncCall(call, patience);
    QDBusPendingCallWatcher watcher(reply);
    QEventLoop loop;
    QObject::connect(&watcher, &QDBusPendingCallWatcher::finished, &loop, &QEventLoop::quit);
    if (!watcher.isFinished())
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    return !watcher.isError();
}

bool platform::browseFolder(QWidget *parent, const QString &title, const QString &initialPath,
                            QString *chosen)
{
    const QString folder = QFileDialog::getExistingDirectory(parent, title, initialPath);
    if (folder.isEmpty())
        return false;
    *chosen = QDir::toNativeSeparators(folder);
    return true;
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

// Asks the service that manages seats and power; the reply is an error when it is not there.
static QDBusMessage askPowerService(const QString &method, const QVariantList &arguments = {})
{
    constexpr int patience = 5000; // milliseconds
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
        QStringLiteral("org.freedesktop.login1.Manager"), method);
    call.setArguments(arguments);
    return QDBusConnection::systemBus().call(call, QDBus::Block, patience);
}

static bool isAnswered(const QDBusMessage &reply)
{
    return reply.type() == QDBusMessage::ReplyMessage;
}

// The argument of the requests: no question of the service's own.
static QVariantList withoutQuestion()
{
    return {false};
}

bool platform::suspend(bool hibernate)
{
    return isAnswered(askPowerService(
        hibernate ? QStringLiteral("Hibernate") : QStringLiteral("Suspend"), withoutQuestion()));
}

bool platform::hasShutDownRight()
{
    return isAnswered(askPowerService(QStringLiteral("CanPowerOff")));
}

bool platform::acquireShutDownRight()
{
    // "challenge" would ask for a password of somebody who has gone to bed.
    const QDBusMessage reply = askPowerService(QStringLiteral("CanPowerOff"));
    return isAnswered(reply) && reply.arguments().value(0).toString() == QLatin1String("yes");
}

bool platform::requestShutDown()
{
    return isAnswered(askPowerService(QStringLiteral("PowerOff"), withoutQuestion()));
}
