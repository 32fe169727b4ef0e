#pragma once

#include "storedjob.h"

#include <utility>
#include <vector>

class JobRecord;
class QSqlDatabase;

// What the table of jobs is known to hold, so that a save need not write it all again: the rows
// behind the version row, in the order in which they are read. User-interface thread.
class JobTable final
{
public:
    using Records = std::vector<const JobRecord *>;

    // Between the rows that are stored and the jobs that are to be stored.
    struct Difference
    {
        std::vector<std::size_t> removed; // places in the table, upwards
        std::vector<std::pair<std::size_t, StoredJob>> changed;
        std::vector<StoredJob> appended;
        bool isEmpty() const { return removed.empty() && changed.empty() && appended.empty(); }
    };

    std::size_t size() const { return m_jobs.size(); }
    qint64 sumOfIds() const;
    bool isKnown() const { return m_known; }
    void forget();
    void begin(); // the table is about to be read or written from its beginning
    void append(const StoredJob &job) { m_jobs.push_back(job); }
    void complete() { m_known = true; } // every row has been appended

    // Jobs that are in the order of their rows; one that is not counts as removed and appended.
    Difference differenceTo(const Records &records) const;
    // Brings the table in line within a transaction. False when a row is not as it was known, or
    // its statement failed; the transaction is to be rolled back.
    bool write(const Difference &difference, const QSqlDatabase &database) const;
    void apply(Difference difference); // once it has been committed

private:
    std::vector<StoredJob> m_jobs;
    bool m_known = false;
};
