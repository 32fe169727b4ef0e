#include "singleapplication.h"

#include "trace.h"

#include <QElapsedTimer>
#include <QFile>
#include <QMetaMethod>
#include <QThread>
#include <QTimer>

#include <cstring>

static constexpr int segmentSize = 4096;
static constexpr int lockPatience = 2000; // milliseconds
static constexpr int endPatience = 10000; // milliseconds
static constexpr int pollInterval = 1000; // milliseconds

static QByteArray noMessage()
{
    return QByteArrayLiteral("0");
}

SingleApplication::SingleApplication(int &argc, char **argv, const QString &uniqueKey,
                                     const QString &list)
    : QApplication(argc, argv)
    , m_listLock(list)
{
    m_isRunning = !becomesFirst(platform::instanceSegmentKey(uniqueKey));
    if (m_isRunning)
        return;
    connect(this, &QCoreApplication::aboutToQuit, this, &SingleApplication::takeNoMoreMessages);
    platform::watchSession(
        this, [this] { emit saveRequested(); },
        [this] {
            m_isSessionEnding = true;
            takeNoMoreMessages(); // a start from now on comes after this end
            emit queryEndSession();
        });
}

bool SingleApplication::becomesFirst(const QString &ownKey)
{
    QElapsedTimer waited;
    waited.start();
    while (!m_listLock.lock(0)) {
        const QByteArray key = m_listLock.note();
        if (!key.isEmpty() && meetsInstance(QFile::decodeName(key), false))
            return false;
        // Who never ends, or cannot be reached, still works on the list.
        if (waited.elapsed() >= endPatience)
            return false;
        QThread::msleep(20);
    }
    m_listLock.setNote(QByteArray()); // of one that was killed
    if (!meetsInstance(ownKey, true))
        return true;
    m_listLock.unlock();
    return false;
}

bool SingleApplication::meetsInstance(const QString &key, bool takePlace)
{
    m_lock = std::make_unique<platform::ProcessLock>(key);
    m_sharedMemory.setNativeKey(key);
    // One start at a time looks at the segment. Who keeps the others from it for so long is there,
    // whether it answers or not.
    const bool locked = m_lock->lock(lockPatience);
    // The segment of an instance that was killed is still there. Detaching removes it, unless a
    // living instance holds it.
    if (m_sharedMemory.attach(QSharedMemory::ReadWrite))
        m_sharedMemory.detach();
    const bool met = m_sharedMemory.attach(QSharedMemory::ReadWrite) || !locked;
    if (!met && takePlace)
        takeMessages();
    if (locked)
        m_lock->unlock();
    return met;
}

void SingleApplication::takeMessages()
{
    if (!m_sharedMemory.create(segmentSize, QSharedMemory::ReadWrite)) {
        TRACE() << "Unable to create single instance.";
        return;
    }
    platform::keepFromChildren(m_sharedMemory.data(), m_sharedMemory.size());
    writeSegment(noMessage());
    m_lock->setNote(QByteArray());
    m_listLock.setNote(QFile::encodeName(m_sharedMemory.nativeKey()));
    auto *poll = new QTimer(this);
    connect(poll, &QTimer::timeout, this, &SingleApplication::checkForMessage);
    poll->setTimerType(Qt::VeryCoarseTimer); // on the full second, with the window's
    poll->start(pollInterval);
}

void SingleApplication::takeNoMoreMessages()
{
    // Saving and stopping take their time; a start that comes meanwhile waits for the list.
    m_listLock.setNote(QByteArray());
    m_sharedMemory.detach();
}

void SingleApplication::writeSegment(const QByteArray &bytes)
{
    const auto count = static_cast<size_t>(qMin(m_sharedMemory.size(), bytes.size()));
    std::memcpy(m_sharedMemory.data(), bytes.constData(), count);
}

bool SingleApplication::sendMessage(const QString &message, const QByteArray &token)
{
    if (!m_isRunning || !m_sharedMemory.isAttached())
        return false;
    const QByteArray bytes = QByteArrayLiteral("1") + message.toUtf8() + '\0';
    const bool locked = m_lock->lock(lockPatience);
    if (locked)
        m_lock->setNote(token);
    writeSegment(bytes);
    if (locked)
        m_lock->unlock();
    return true;
}

void SingleApplication::checkForMessage()
{
    if (m_isRunning || !m_sharedMemory.isAttached())
        return;
    // While the start-up still runs there is nobody to hear: the message waits.
    if (!isSignalConnected(QMetaMethod::fromSignal(&SingleApplication::messageAvailable)))
        return;
    // Busy: the next poll takes the message. Waiting here would stop the windows.
    if (!m_lock->lock(0))
        return;
    QByteArray bytes(static_cast<const char *>(m_sharedMemory.constData()), m_sharedMemory.size());
    const bool waiting = !bytes.startsWith(noMessage());
    // Marked as taken before anybody hears of it: the receiver may run an event loop of its own,
    // and a message that comes meanwhile is a new one.
    QByteArray token;
    if (waiting) {
        writeSegment(noMessage());
        token = m_lock->note();
        m_lock->setNote(QByteArray());
    }
    m_lock->unlock();
    if (!waiting)
        return;
    bytes.append('\0');
    emit messageAvailable(QString::fromUtf8(bytes.constData() + 1), token);
}
