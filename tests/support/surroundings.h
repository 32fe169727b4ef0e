#pragma once

#include "cjslib.h"
#include "downloadermanager.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "webdatabase.h"

// What the jobs of a test work with.
inline JobSurroundings testSurroundings(const RetryDelays &delays = RetryDelays())
{
    return {*Options::instance(), *OutputProfileManager::instance(), *CJSLib::instance(), delays};
}

inline bool readJobs(WebDatabase &database, DownloaderManager &manager)
{
    return database.Read([&manager](const auto &fill) { return manager.loadJob(fill); });
}
