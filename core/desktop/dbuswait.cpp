#include "dbuswait.h"

#include <QDBusConnection>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QEventLoop>

void whenAnswered(const QDBusConnection &bus, const QDBusMessage &call, QObject *context,
                  const std::function<void(const QDBusMessage &)> &handler)
{
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), context);
    const auto take = [watcher, handler] {
        watcher->deleteLater();
        handler(watcher->reply());
    };
    // Without a bus the answer is there already, and nobody announces it.
    if (watcher->isFinished())
        QMetaObject::invokeMethod(watcher, take, Qt::QueuedConnection);
    else
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, take);
}

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
