#pragma once

#include "jobrow.h"

// What is stored of a job: its row, and the validator of its source file.
struct StoredJob
{
    explicit StoredJob(const JobRow &storedRow)
        : row(storedRow)
    {
    }
    explicit StoredJob(const JobData &job); // as it is to be written
    bool isOf(const JobData &job) const;    // true: to write the job would change nothing

    JobRow row;
    QString validator; // empty: none is stored
};
