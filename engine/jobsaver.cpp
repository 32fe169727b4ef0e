#include "jobsaver.h"

#include "downloadermanager.h"
#include "webdatabase.h"

JobSaver::JobSaver(DownloaderManager &manager, WebDatabase &database)
    : m_manager(manager)
    , m_database(database)
{
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
    m_manager.stopAll();
    // A failure is in the log; there is nobody left to tell.
    return m_database.Save(m_manager.records(), WebDatabase::thoroughPatience);
}
