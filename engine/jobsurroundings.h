#pragma once

#include "securehosts.h"
#include "transferturns.h"

#include <memory>

class CJSLib;
class Options;
class OutputProfileManager;

// How long a job waits before it tries again, and for a server that says nothing, in milliseconds.
struct RetryDelays
{
    int networkError = 60000;
    int shortTransfer = 3000;
    int stall = 60000;
};

// What a job works with besides its own record. All of it outlives every job. The options belong to
// the user-interface thread; a transfer asks profiles and scripts only what they say may be asked
// from any thread.
struct JobSurroundings
{
    Options &options;
    OutputProfileManager &profiles;
    const CJSLib &scripts;
    RetryDelays delays;
    SecureHosts secureHosts = {};
    // Shared by all jobs of a list.
    std::shared_ptr<TransferTurns> turns = std::make_shared<TransferTurns>();
};
