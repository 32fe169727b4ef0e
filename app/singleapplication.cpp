#include "singleapplication.h"

#include "trace.h"

#include <QMetaMethod>
#include <QTimer>

#include <cstring>

static constexpr int segmentSize = 4096;
static constexpr int lockPatience = 2000; // milliseconds
static constexpr int pollInterval = 1000; // milliseconds

static QByteArray noMessage()
{
    return QByteArrayLiteral("0");
}

SingleApplication::SingleApplication(int &argc, char **argv, const QString &uniqueKey)
    : QApplication(argc, argv)
    , m_lock(platform::instanceSegmentKey(uniqueKey))
{
    platform::watchSessionEnd(this, [this]() {
        m_isSessionEnding = true;
        emit queryEndSession();
    });

    m_sharedMemory.setNativeKey(platform::instanceSegmentKey(uniqueKey));
    // One start at a time looks at the segment: of two at once, one is the first. A lock that
    // cannot be had keeps nobody from starting.
    const bool locked = m_lock.lock(lockPatience);
    m_isRunning = attachToRunningInstance();
    if (!m_isRunning)
        takeMessages();
    if (locked)
        m_lock.unlock();
}

bool SingleApplication::attachToRunningInstance()
{
    // The segment of an instance that was killed is still there. Detaching removes it, unless a
    // living instance holds it.
    if (m_sharedMemory.attach(QSharedMemory::ReadWrite))
        m_sharedMemory.detach();
    return m_sharedMemory.attach(QSharedMemory::ReadWrite);
}

void SingleApplication::takeMessages()
{
    if (!m_sharedMemory.create(segmentSize, QSharedMemory::ReadWrite)) {
        TRACE() << "Unable to create single instance.";
        return;
    }
    writeSegment(noMessage());
    auto *poll = new QTimer(this);
    connect(poll, &QTimer::timeout, this, &SingleApplication::checkForMessage);
    poll->start(pollInterval);
}

void SingleApplication::writeSegment(const QByteArray &bytes)
{
    const auto count = static_cast<size_t>(qMin(m_sharedMemory.size(), bytes.size()));
    std::memcpy(m_sharedMemory.data(), bytes.constData(), count);
}

bool SingleApplication::sendMessage(const QString &message)
{
    if (!m_isRunning)
        return false;
    const QByteArray bytes = QByteArrayLiteral("1") + message.toUtf8() + '\0';
    const bool locked = m_lock.lock(lockPatience);
    writeSegment(bytes);
    if (locked)
        m_lock.unlock();
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
    if (!m_lock.lock(0))
        return;
    QByteArray bytes(static_cast<const char *>(m_sharedMemory.constData()), m_sharedMemory.size());
    const bool waiting = !bytes.startsWith(noMessage());
    // Marked as taken before anybody hears of it: the receiver may run an event loop of its own,
    // and a message that comes meanwhile is a new one.
    if (waiting)
        writeSegment(noMessage());
    m_lock.unlock();
    if (!waiting)
        return;
    bytes.append('\0');
    emit messageAvailable(QString::fromUtf8(bytes.constData() + 1));
}
