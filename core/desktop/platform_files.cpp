#include "platform.h"

#include "dbuswait.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <QDesktopServices>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QMimeDatabase>
#include <QRunnable>
#include <QStandardPaths>
#include <QThreadPool>
#include <QTimer>
#include <QUrl>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

bool platform::openUrl(const QUrl &address)
{
    const QString text =
        address.isLocalFile() ? address.toLocalFile() : address.toString(QUrl::FullyEncoded);
    // The toolkit would start the same program, but with this process's limits.
    return startDetached(QStringLiteral("xdg-open"), {text}) || QDesktopServices::openUrl(address);
}

QByteArray platform::fileIdentity(const QString &path)
{
    struct stat status = {};
    if (stat(QFile::encodeName(path).constData(), &status) != 0)
        return {};
    return QByteArray::number(quint64(status.st_dev)) + ':' +
           QByteArray::number(quint64(status.st_ino));
}

bool platform::openFolder(const QString &path)
{
    return openUrl(QUrl::fromLocalFile(path));
}

void platform::showInFolder(const QString &path)
{
    const QString manager = QStringLiteral("org.freedesktop.FileManager1");
    QDBusMessage call =
        QDBusMessage::createMethodCall(manager, QStringLiteral("/org/freedesktop/FileManager1"),
                                       manager, QStringLiteral("ShowItems"));
    call << QStringList(QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded)) << QString();
    whenAnswered(QDBusConnection::sessionBus(), call, qApp, [path](const QDBusMessage &answer) {
        if (answer.type() != QDBusMessage::ReplyMessage)
            openFolder(QFileInfo(path).absolutePath());
    });
}

// False only when the desktop says so; an answer that is late or fails counts as yes.
static bool hasProgramFor(const QString &path)
{
    constexpr int patience = 2000; // milliseconds
    platform::ChildProcess query;
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
    return answerTo(QDBusConnection::sessionBus(), call, patience).type() ==
           QDBusMessage::ReplyMessage;
}
