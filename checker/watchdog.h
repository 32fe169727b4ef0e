#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

// Does something, on a thread of its own, unless it is destroyed before the time is over.
class Watchdog final
{
public:
    Watchdog(std::chrono::milliseconds time, std::function<void()> bite);
    ~Watchdog();
    Watchdog(const Watchdog &) = delete;
    Watchdog &operator=(const Watchdog &) = delete;

private:
    std::mutex m_mutex;
    std::condition_variable m_condition;
    bool m_calledOff = false;
    std::thread m_thread;
};
