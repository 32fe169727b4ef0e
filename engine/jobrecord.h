#pragma once

#include "jobdata.h"

#include <QString>

class CJSLib;
class JobRow;
class OutputProfileManager;
class QSqlQuery;
struct SiteAccess;

// The data of one job, and by which names the rest of the engine asks for what is done with it: how
// it is stored (JobRow), its files (jobfiles) and the renewal of its address. User-interface
// thread, but refreshVideoUrl, which belongs to the transfer thread.
class JobRecord final : public JobData
{
public:
    // Fills the record from a stored row. version is not used. True when the job stays in the list:
    // a finished job stays only while its file exists.
    bool loadRow(const JobRow &row, int version, const OutputProfileManager &profiles);

    QString stateText() const;
    QString stateIcon() const; // resource path

    bool finalizeOutput(bool deleteSource);
    bool removePartialFiles();
    bool deleteFiles() const;
    void refreshVideoUrl(const CJSLib &scripts, const OutputProfileManager &profiles,
                         const SiteAccess &access);
};
