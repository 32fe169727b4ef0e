#pragma once

#include "jobsaver.h"
#include "storagethread.h"

class AppInfo;
class CJSLib;
class DownloaderManager;
class Options;
class OutputProfileManager;
class WebDatabase;

// The start-up's share of the window: what asks the world outside, and the process-wide objects.
// User-interface thread.

// Runs the update of the site scripts; the program starts whatever comes of it.
void updateScripts(Options &options, const AppInfo &info);

// The process-wide objects that the window stands on, made and unmade in one place.
class Stores final
{
public:
    // With the settings loaded. The file of the job list begins to be read, because it may be long;
    // the others are empty.
    Stores();
    ~Stores(); // unfinished jobs are stopped, and all of them saved
    Stores(const Stores &) = delete;
    Stores &operator=(const Stores &) = delete;

    // Loads what the program cannot do without: the output profiles, and the job list into the
    // manager. False when the program must end; the person has then been told, and it has been
    // logged. Runs message boxes.
    bool load();

    AppInfo &info;
    Options &options;
    CJSLib &scripts;
    OutputProfileManager &profiles;
    DownloaderManager &manager;
    WebDatabase &database; // opened, read and destroyed on this thread:
    StorageThread storage;
    JobSaver saver;

private:
    bool m_opened = false; // these two are known when the storage thread has nothing left to do
    bool m_rowsRead = false;
};
