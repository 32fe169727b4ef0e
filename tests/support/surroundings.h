#pragma once

#include "cjslib.h"
#include "downloadermanager.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "storagethread.h"
#include "webdatabase.h"

#include <memory>

// What the jobs of a test work with.
inline JobSurroundings testSurroundings(const RetryDelays &delays = RetryDelays())
{
    return {*Options::instance(), *OutputProfileManager::instance(), *CJSLib::instance(), delays};
}

// A job list whose file is opened, written and closed on a thread of its own, as the program's is.
struct ListOnThread
{
    explicit ListOnThread(const QString &folder)
    {
        storage.run([&] {
            database = std::make_unique<WebDatabase>(folder);
            opened = database->Init();
        });
    }
    ~ListOnThread()
    {
        storage.run([this] { database.reset(); });
    }
    StorageThread storage;
    std::unique_ptr<WebDatabase> database;
    bool opened = false;
};

inline bool readJobs(WebDatabase &database, DownloaderManager &manager)
{
    return database.Read([&manager](const auto &fill) { return manager.loadJob(fill); });
}
