#pragma once

#include "jobdata.h"

#include <QString>

#include <optional>

class HttpJob;

// The texts that the lists show of a job. User-interface thread.

QString basicInformation(const JobData &record);                      // download list
QString finishedInformation(const JobData &record, qint64 fileBytes); // finished list
QString stateDescription(JobState state); // what the state icon stands for, in one word

// Why the job failed, or what it waits for; empty when all is well or nothing is known.
QString troubleText(const HttpJob &job);
QString conditionText(const HttpJob &job); // the same, or else what it does
// How far it has come, in lines. data: as progressData() gives it. speed: bytes per second, -1 when
// not known.
QString progressText(const HttpJob &job, const QString &data, qint64 speed);

// Progress for the delegate: "done total seconds-left state" (bytes, or seconds of video when the
// job converts; -1 for seconds that are not known), or one number when the total is not known.
// elapsedMs: how long the job has run.
QString progressData(const JobData &record, qint32 elapsedMs);

struct ProgressReading
{
    double value = 0;   // from 0 to the maximum
    double maximum = 0; // at least 0.01
    bool failed = false;
    QString caption; // the time left
};
// Nothing when the data has no total to compare with.
std::optional<ProgressReading> readProgress(const QString &data);
QString spokenProgress(const QString &data); // for who cannot see the bar
