#pragma once

#include "platform.h"

#include <QApplication>
#include <QSharedMemory>
#include <QString>

#include <memory>

// The application object, of which one per user takes messages from the others. The instances
// meet in a shared segment: byte 0 is "0" when no message waits, the text follows in UTF-8 and
// ends with a NUL. What comes with the text is the note of the segment's lock: who knows of the
// segment only is not disturbed.
//
// Who is the first is decided by two things that the system takes away with the process. One is a
// lock beside the list of jobs, because the segment's key follows the session's runtime folder and
// a user may have several (su, ssh) over one list. Its note is the key of the holder's segment, so
// that the others find it from everywhere; empty as long as the holder takes no messages because it
// is starting or ending, which is worth waiting for. The other is the segment itself.
class SingleApplication final : public QApplication
{
    Q_OBJECT
    Q_DISABLE_COPY(SingleApplication)

public:
    // list: path of the file that only one instance may work on. Waits, some seconds, for the end
    // of an instance that is ending.
    SingleApplication(int &argc, char **argv, const QString &uniqueKey, const QString &list);

    bool isRunning() const { return m_isRunning; } // another instance was there first
    // Leaves the message for the first instance; false in the first instance itself, and when the
    // other one cannot be reached.
    // token: of the desktop's, that lets the window of the other one come forward.
    bool sendMessage(const QString &message, const QByteArray &token = QByteArray());
    // True once queryEndSession() was emitted: for who was not listening yet.
    bool isSessionEnding() const { return m_isSessionEnding; }

signals:
    void messageAvailable(QString message, QByteArray token = QByteArray());
    // The session wants everything on disk; it may go on.
    void saveRequested();
    // The session ends, or the process was asked to terminate.
    void queryEndSession();

public slots:
    void checkForMessage();

private:
    bool becomesFirst(const QString &ownKey);
    // True when a living instance holds the segment, to which this one is attached then, or none
    // can tell. Otherwise this one takes its place, if it shall.
    bool meetsInstance(const QString &key, bool takePlace);
    void takeMessages();
    void takeNoMoreMessages();
    void writeSegment(const QByteArray &bytes);

    bool m_isRunning = false;
    bool m_isSessionEnding = false;
    platform::ProcessLock m_listLock;              // held for the whole life
    std::unique_ptr<platform::ProcessLock> m_lock; // of the segment, for moments
    QSharedMemory m_sharedMemory;
};
