#pragma once

#include <QDBusMessage>

#include <functional>

class QDBusConnection;
class QObject;

// Sends the call. The handler gets the answer in the event loop, an error message when nobody
// answered; never, when the context has gone by then.
void whenAnswered(const QDBusConnection &bus, const QDBusMessage &call, QObject *context,
                  const std::function<void(const QDBusMessage &)> &handler);

// Sends the call and waits for its answer, at most that many milliseconds, while the windows are
// painted and everything but the person's input goes on. An error message when nobody answered.
QDBusMessage answerTo(const QDBusConnection &bus, const QDBusMessage &call, int patience);
