#include "jobsaver.h"

#include "downloadermanager.h"
#include "storagethread.h"
#include "webdatabase.h"

#include <QElapsedTimer>

#include <utility>

JobSaver::JobSaver(DownloaderManager &manager, WebDatabase &database, StorageThread &thread)
    : m_manager(manager)
    , m_database(database)
    , m_thread(thread)
{
    m_moment.setSingleShot(true);
    connect(&m_moment, &QTimer::timeout, this, [this] {
        if (std::exchange(m_due, false))
            saveSoon();
    });
}

JobSaver::~JobSaver()
{
    m_thread.finish();
}

void JobSaver::begin(int patience)
{
    m_underWay = true;
    m_due = false;
    ++m_number;
    auto work = [this, patience, number = m_number,
                 difference = m_database.differenceTo(m_manager.records())]() mutable {
        QElapsedTimer clock;
        clock.start();
        m_saved = m_database.Save(std::move(difference), patience);
        m_duration = clock.elapsed();
        // Somebody may have waited for it, and begun another one, before this is heard of.
        QMetaObject::invokeMethod(
            this,
            [this, number] {
                if (number == m_number)
                    end();
            },
            Qt::QueuedConnection);
    };
    m_thread.begin(std::move(work));
}

bool JobSaver::end()
{
    if (!m_underWay)
        return true;
    m_thread.finish();
    m_underWay = false;
    // A disk that is busy with the downloads themselves is not to be kept busy with the list.
    constexpr qint64 shortest = 100; // milliseconds
    m_moment.start(int(qMax(shortest, 10 * m_duration)));
    if (m_saved)
        m_failures = 0;
    else if (++m_failures == 2)
        emit sigSavingFails();
    return m_saved;
}

void JobSaver::saveSoon()
{
    if (m_underWay || m_moment.isActive())
        m_due = true;
    else
        begin(WebDatabase::quickPatience);
}

bool JobSaver::save()
{
    return saveNow(WebDatabase::quickPatience);
}

bool JobSaver::saveLast()
{
    m_manager.stopAll();
    // A failure is in the log; there is nobody left to tell.
    return saveNow(WebDatabase::thoroughPatience);
}

bool JobSaver::saveNow(int patience)
{
    // At an early end of the program the list is still being read there.
    m_thread.finish();
    end();
    begin(patience);
    const bool saved = end();
    m_moment.stop();
    return saved;
}
