#pragma once

#include <QDBusMessage>

class QDBusConnection;

// Sends the call and waits for its answer, at most that many milliseconds, while the windows are
// painted and everything but the person's input goes on. An error message when nobody answered.
QDBusMessage answerTo(const QDBusConnection &bus, const QDBusMessage &call, int patience);
