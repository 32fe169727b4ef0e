#pragma once

#include "platform.h"

#include <QObject>

#include <memory>

class DownloaderManager;

// The system stays awake while a job runs, also one that waits for its next try.
class Wakefulness final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(Wakefulness)

public:
    explicit Wakefulness(const DownloaderManager &manager); // which must outlive it

private:
    void follow();

    const DownloaderManager &m_manager;
    std::unique_ptr<platform::WakeLock> m_lock; // null: it may sleep
};
