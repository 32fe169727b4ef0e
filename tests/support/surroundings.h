#pragma once

#include "cjslib.h"
#include "jobsurroundings.h"
#include "options.h"
#include "outputprofilemanager.h"

// What the jobs of a test work with.
inline JobSurroundings testSurroundings(const RetryDelays &delays = RetryDelays())
{
    return {*Options::instance(), *OutputProfileManager::instance(), *CJSLib::instance(), delays};
}
