#pragma once

#include "jobdata.h"

#include <QString>

class QSqlQuery;

// The data of one job with what can be done to it alone. User-interface thread, but
// refreshVideoUrl, which belongs to the transfer thread.
class JobRecord final : public JobData
{
public:
    // Fills the record from the current row of WebDatabase's SELECT. version is not used. True when
    // the job stays in the list: a finished job stays only while its file exists.
    bool loadRow(QSqlQuery &query, int version);
    bool insertRow(); // writes the record as one row through the default connection
    // The same with a query that was prepared once for many rows.
    bool insertRow(QSqlQuery &prepared);
    static QString insertStatement(); // what such a query is prepared with

    QString stateText() const;
    QString stateIcon() const; // resource path

    bool finalizeOutput();     // gives the finished file its title as name
    bool removePartialFiles(); // after a failure
    bool deleteFiles();        // when the person removes the job with its files

    // Renews video_url by analysing the page again; a failure leaves the address as it is.
    void refreshVideoUrl();
};
