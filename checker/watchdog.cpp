#include "watchdog.h"

Watchdog::Watchdog(std::chrono::milliseconds time, std::function<void()> bite)
    : m_thread([this, time, bite = std::move(bite)] {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (!m_condition.wait_for(lock, time, [this] { return m_calledOff; }))
            bite();
    })
{
}

Watchdog::~Watchdog()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_calledOff = true;
    }
    m_condition.notify_one();
    m_thread.join();
}
