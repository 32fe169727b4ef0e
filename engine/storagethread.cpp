#include "storagethread.h"

#include <utility>

StorageThread::StorageThread()
    : m_thread(QThread::create([this] { workOn(); }))
{
    m_thread->start();
    m_isThere = m_thread->isRunning();
}

StorageThread::~StorageThread()
{
    if (!m_isThere)
        return;
    {
        std::unique_lock lock(m_mutex);
        m_ending = true;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_ended; });
    }
    m_thread->wait();
}

void StorageThread::begin(Work work)
{
    if (!m_isThere) {
        work();
        return;
    }
    {
        const std::lock_guard lock(m_mutex);
        m_works.push_back(std::move(work));
    }
    m_changed.notify_all();
}

void StorageThread::finish()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_works.empty(); });
}

void StorageThread::workOn()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_ending || !m_works.empty(); });
        if (m_works.empty()) {
            m_ended = true;
            m_changed.notify_all();
            return;
        }
        Work &work = m_works.front(); // stays where it is while others are appended
        lock.unlock();
        work();
        work = nullptr; // what it holds goes here as well
        lock.lock();
        m_works.pop_front();
        m_changed.notify_all();
    }
}
