#pragma once

class CJSLib;
class OutputProfileManager;
struct JobData;
struct SiteAccess;

// Renews the address of a job's stream by analysing its page again; a failure leaves the address as
// it is. access: of the job's page. Runs on the transfer thread, in nested event loops.
void renewAddress(JobData &job, const CJSLib &scripts, const OutputProfileManager &profiles,
                  const SiteAccess &access);
