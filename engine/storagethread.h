#pragma once

#include <QThread>

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

// A thread for what has to wait for the disk, so that the window need not. It does one piece of
// work after the other, in the order in which they are handed over; what they work with is theirs
// until they are done. The functions belong to the thread that made the object.
class StorageThread final
{
public:
    using Work = std::function<void()>;

    StorageThread();
    ~StorageThread(); // once everything is done
    Q_DISABLE_COPY(StorageThread)

    void begin(Work work); // returns at once
    void finish();         // returns when everything is done
    void run(const Work &work)
    {
        begin(work);
        finish();
    }

private:
    void workOn();

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Work> m_works; // the first of them is being done
    bool m_ending = false;
    bool m_ended = false;
    const std::unique_ptr<QThread> m_thread;
    // Not when the system had no thread to give: then the caller does the work himself.
    bool m_isThere = false;
};
