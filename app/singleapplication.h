#pragma once

#include "platform.h"

#include <QApplication>
#include <QSharedMemory>
#include <QString>

// The application object, of which one per user takes messages from the others. The instances
// meet in a shared segment: byte 0 is "0" when no message waits, the text follows in UTF-8 and
// ends with a NUL.
class SingleApplication final : public QApplication
{
    Q_OBJECT
    Q_DISABLE_COPY(SingleApplication)

public:
    SingleApplication(int &argc, char **argv, const QString &uniqueKey);

    bool isRunning() const { return m_isRunning; } // another instance was there first
    // Leaves the message for the first instance; false in the first instance itself.
    bool sendMessage(const QString &message);
    // True once queryEndSession() was emitted: for who was not listening yet.
    bool isSessionEnding() const { return m_isSessionEnding; }

signals:
    void messageAvailable(QString message);
    // The session ends, or the process was asked to terminate.
    void queryEndSession();

public slots:
    void checkForMessage();

private:
    bool attachToRunningInstance();
    void takeMessages();
    void writeSegment(const QByteArray &bytes);

    bool m_isRunning = false;
    bool m_isSessionEnding = false;
    platform::ProcessLock m_lock;
    QSharedMemory m_sharedMemory;
};
