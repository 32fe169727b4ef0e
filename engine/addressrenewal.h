#pragma once

class CJSLib;
class OutputProfileManager;
struct JobData;

// Renews the address of a job's stream by analysing its page again; a failure leaves the address as
// it is. Runs on the transfer thread, in nested event loops.
void renewAddress(JobData &job, const CJSLib &scripts, const OutputProfileManager &profiles);
