#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

class QObject;
class QUrl;
class QWidget;

// Everything the program asks of the system. Nothing else includes a system header or asks which
// system it runs on. User-interface thread unless said otherwise.
namespace platform {

// Lets the process have as many files and connections open as the system grants: each running job
// takes several. Before any job starts. Children that are started as below keep what the process
// itself was given.
void allowManyOpenFiles();
class ChildProcess final : public QProcess
{
public:
    using QProcess::QProcess;

protected:
    void setupChildProcess() override;
};
bool startDetached(const QString &program, const QStringList &arguments);

// Holds a mutex of that name until the process ends; whether it was free is not told.
void holdNamedMutex(const QString &name);
// Key of the message segment for QSharedMemory::setNativeKey, private to the user.
QString instanceSegmentKey(const QString &title);
// Of attached shared memory: no child that is being started has it, even for a moment.
void keepFromChildren(void *memory, int size);
// A lock between the processes of one user. The system releases it when its holder dies, whatever
// became of a child that was being started. Its file can bear a note. One object for each key in a
// process: the end of another of that key would release it.
class ProcessLock final
{
public:
    // key: a path, the lock's file is beside it.
    explicit ProcessLock(const QString &key);
    ~ProcessLock();
    Q_DISABLE_COPY(ProcessLock)

    // False when another process kept it for that long; true when there is nothing to lock with.
    bool lock(int milliseconds);
    void unlock();
    bool setNote(const QByteArray &note); // replaces it; at most 4096 bytes
    QByteArray note() const;

private:
    int m_handle; // negative: there is no file, and every call fails
};
// Until the context is deleted: save is called when the session asks to have everything on disk,
// which may be a checkpoint only; end when the program has to end: the session's manager says so,
// the process is asked to terminate, or the machine goes down. The machine then waits, some
// seconds, until the context is deleted. Once per process.
void watchSession(QObject *context, const std::function<void()> &save,
                  const std::function<void()> &end);

// The desktop's place for the icons of hidden programs.
enum class Tray {
    Missing,
    OfWindows, // each icon is a window of its program, which shows its own balloons
    OverBus,   // the icons are drawn by the desktop
};
// Calls the handler, in the event loop, once it is known what tray the desktop has, and again
// whenever that changes; until the context goes.
void watchTray(QObject *context, const std::function<void(Tray)> &handler);

// What is shown by the desktop's service for notifications.
struct Notification
{
    QString title; // empty: the program's
    QString text;  // plain, whatever the service takes
    bool isWarning = false;
    int milliseconds = 0; // how long it stays
};
class NotificationService;
class Notifications final
{
public:
    // One of them was clicked; token: what lets a window come forward, empty when there is none.
    explicit Notifications(std::function<void(const QByteArray &token)> clicked);
    ~Notifications();
    Q_DISABLE_COPY(Notifications)

    // Waits for nothing; unseen is called in the event loop when nobody shows it.
    void show(const Notification &notification, const std::function<void()> &unseen);

private:
    const std::unique_ptr<NotificationService> m_service;
};

// What the desktop gave this start for its window to come forward with; empty: nothing. Before the
// application object is made, which takes it for its own first window.
QByteArray startToken();
// To the foreground; restored when minimised, maximised again when it was before. token: of the
// start or of the notification that wants it, empty when there is none.
void activateWindow(QWidget *window, const QByteArray &token);
void minimizeWindow(QWidget *window); // also one that is hidden
// Whether the clipboard reads as empty while no window of this program has the focus.
bool clipboardNeedsFocus();

QString documentsFolder(); // empty when there is none
QString videosFolder();
QString applicationDataFolder();

// Creates an empty file that nobody but the user can read; false when there is one already. What
// the person does is nobody else's, and folders for temporary files are everybody's. Any thread.
bool createPrivateFile(const QString &path);
// True when the file was there and is gone. The room of a large file is given back in the
// background. Any thread.
bool removeFile(const QString &path);
// Differs for any two files that exist at the same time, whatever their names; empty when there is
// no such file. Any thread.
QByteArray fileIdentity(const QString &path);
// Asks the disk for the bytes that will be written to an open file from its beginning up to that
// end; its length stays as it is. Empty when they are reserved, or when the file system cannot do
// such a thing; otherwise why there is no room, and some may be reserved. What is reserved and not
// written is given back when the file is cut to its length. May take a while: goOn is asked every
// now and then, false ends it as if all were well. Any thread.
QString reserveRoom(int handle, qint64 end, const std::function<bool()> &goOn);
bool openUrl(const QUrl &address); // with the program of its scheme
bool openFolder(const QString &path);
// Has the file manager show a file among its neighbours; one that cannot do that, the folder.
void showInFolder(const QString &path);
// What came of opening a file with the program of its type.
enum class OpenResult { Opened, NoProgram, Failed };
OpenResult openFile(const QString &path);
bool chooseProgramFor(const QString &path); // the system's chooser of a program for the file
bool browseFolder(QWidget *parent, const QString &title, const QString &initialPath,
                  QString *chosen);

QString newGuid();   // upper case with braces
quint32 tickCount(); // milliseconds of a steady clock, wrapping. Any thread.

// As long as it is there the system does not go to sleep for want of a person; its screen may. It
// is asked without waiting for the answer, and hears of the end also when the process dies.
class WakeLock final
{
public:
    explicit WakeLock(const QString &reason);
    ~WakeLock();
    Q_DISABLE_COPY(WakeLock)

private:
    const std::unique_ptr<QObject> m_inhibitor;
};
bool suspend(bool hibernate);
// What a request to shut down would come to as things are.
enum class ShutDown {
    Possible,
    NeedsPassword,
    Impossible,
};
// The handler gets the answer in the event loop; never, when the context has gone by then.
void askForShutDown(QObject *context, const std::function<void(ShutDown)> &handler);
bool hasShutDownRight();     // the means to ask for a shut-down are there
bool acquireShutDownRight(); // this program may shut the computer down
bool requestShutDown();

} // namespace platform
