#pragma once

#include "storedjob.h"

#include <utility>
#include <vector>

class JobRecord;
class QSqlDatabase;

// The jobs as they were stored last, so that a save need not write them all again: the rows behind
// the version row, in the order in which they are read. One thread at a time.
class JobTable final
{
public:
    using Records = std::vector<const JobRecord *>;

    // Between these rows and the jobs that are to be stored. Holds copies: it may go to another
    // thread.
    struct Difference
    {
        std::vector<std::size_t> removed; // places in the table, upwards
        std::vector<std::pair<std::size_t, StoredJob>> changed;
        std::vector<StoredJob> appended;
        bool isEmpty() const { return removed.empty() && changed.empty() && appended.empty(); }
    };

    const std::vector<StoredJob> &jobs() const { return m_jobs; }
    qint64 sumOfIds() const;
    // These are the rows in the file, each of them; else it is all to be written.
    bool isInFile() const { return m_inFile; }
    void setInFile(bool inFile) { m_inFile = inFile; }
    void clear(); // nothing is stored yet, or it is about to be read
    void append(StoredJob job) { m_jobs.push_back(std::move(job)); }

    // Jobs that are in the order of their rows; one that is not counts as removed and appended.
    Difference differenceTo(const Records &records) const;
    // Brings the file in line within a transaction. False when a row is not as it was known, or
    // its statement failed; the transaction is to be rolled back.
    bool write(const Difference &difference, const QSqlDatabase &database) const;
    void apply(Difference difference);

private:
    std::vector<StoredJob> m_jobs;
    bool m_inFile = false;
};
