#include "jobsaver.h"

#include "downloadermanager.h"
#include "webdatabase.h"

#include <QElapsedTimer>

#include <utility>

JobSaver::JobSaver(DownloaderManager &manager, WebDatabase &database)
    : m_manager(manager)
    , m_database(database)
{
    m_moment.setSingleShot(true);
    connect(&m_moment, &QTimer::timeout, this, [this] {
        if (std::exchange(m_due, false))
            saveSoon();
    });
}

void JobSaver::saveSoon()
{
    if (m_moment.isActive()) {
        m_due = true;
        return;
    }
    QElapsedTimer clock;
    clock.start();
    save();
    // A disk that is busy with the downloads themselves makes a save wait; the window has to live.
    constexpr qint64 shortest = 100; // milliseconds
    m_moment.start(int(qMax(shortest, 10 * clock.elapsed())));
}

bool JobSaver::save()
{
    if (m_database.Save(m_manager.records())) {
        m_failures = 0;
        return true;
    }
    if (++m_failures == 2)
        emit sigSavingFails();
    return false;
}

bool JobSaver::saveLast()
{
    m_moment.stop();
    m_manager.stopAll();
    // A failure is in the log; there is nobody left to tell.
    return m_database.Save(m_manager.records(), WebDatabase::thoroughPatience);
}
