#include "closesystem.h"

#include "logfile.h"
#include "platform.h"

#include <QWidget>

static void writeLog(const QString &text)
{
    LogFile::instance()->write(QStringLiteral("CloseSystem:"), text);
}

static void shutDown(QWidget *window)
{
    if (!platform::hasShutDownRight())
        return;
    writeLog(QStringLiteral("OpenProcessToken() == true"));
    if (!platform::acquireShutDownRight())
        return;
    if (window)
        window->close();
    writeLog(QStringLiteral("AdjustTokenPrivileges() == ERROR_SUCCESS"));
    writeLog(platform::requestShutDown() ? QStringLiteral("ExitWindowsEx() == true")
                                         : QStringLiteral("ExitWindowsEx() == false"));
}

bool CloseSystem(int mode, QWidget *window)
{
    constexpr int sleepMode = 1;
    constexpr int hibernateMode = 2;

    writeLog(QStringLiteral("Enter"));
    // A refused sleep is no failure for the caller: the log tells how far it came.
    if (mode == sleepMode || mode == hibernateMode)
        platform::suspend(mode == hibernateMode);
    else
        shutDown(window);
    writeLog(QStringLiteral("Leave(true)"));
    return true;
}
