#pragma once

#include "jobdata.h"

#include <QString>

class CJSLib;
class OutputProfileManager;
class QSqlQuery;

// The data of one job, and by which names the rest of the engine asks for what is done with it: how
// it is stored (JobRow), its files (jobfiles) and the renewal of its address. User-interface
// thread, but refreshVideoUrl, which belongs to the transfer thread.
class JobRecord final : public JobData
{
public:
    // Fills the record from the current row of WebDatabase's SELECT. version is not used. True when
    // the job stays in the list: a finished job stays only while its file exists.
    bool loadRow(const QSqlQuery &query, int version, const OutputProfileManager &profiles);
    // Writes the record as one row with a query that was prepared with JobRow::insertStatement().
    bool insertRow(QSqlQuery &prepared) const;

    QString stateText() const;
    QString stateIcon() const; // resource path

    bool finalizeOutput(bool deleteSource);
    bool removePartialFiles();
    bool deleteFiles() const;
    void refreshVideoUrl(const CJSLib &scripts, const OutputProfileManager &profiles);
};
