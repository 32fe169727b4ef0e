#include "dbuswait.h"

#include <QDBusConnection>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QEventLoop>

QDBusMessage answerTo(const QDBusConnection &bus, const QDBusMessage &call, int patience)
{
    QDBusPendingCallWatcher watcher(bus.asyncCall(call, patience));
    QEventLoop loop;
    QObject::connect(&watcher, &QDBusPendingCallWatcher::finished, &loop, &QEventLoop::quit);
    if (!watcher.isFinished())
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    // The end of the program ends the loop early. There is no window left to hold then, and what
    // was asked for may be the very reason.
    watcher.waitForFinished();
    return watcher.reply();
}
