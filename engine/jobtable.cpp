#include "jobtable.h"

#include "jobrecord.h"
#include "validatortable.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVariant>

#include <algorithm>
#include <numeric>

void JobTable::clear()
{
    m_inFile = false;
    m_jobs.clear();
}

qint64 JobTable::sumOfIds() const
{
    return std::accumulate(m_jobs.begin(), m_jobs.end(), qint64(0),
                           [](qint64 sum, const StoredJob &job) { return sum + job.row.id(); });
}

JobTable::Difference JobTable::differenceTo(const Records &records) const
{
    Difference difference;
    std::size_t next = 0; // of the records
    for (std::size_t place = 0; place < m_jobs.size(); ++place) {
        const StoredJob &job = m_jobs[place];
        if (next == records.size() || records[next]->id != job.row.id())
            difference.removed.push_back(place);
        else if (const JobRecord *record = records[next++]; !job.isOf(*record))
            difference.changed.emplace_back(place, StoredJob(*record));
    }
    for (; next < records.size(); ++next)
        difference.appended.emplace_back(*records[next]);
    return difference;
}

bool JobTable::write(const Difference &difference, const QSqlDatabase &database) const
{
    ValidatorTable validators(database);
    QSqlQuery deletion(database);
    deletion.prepare(QStringLiteral("DELETE FROM video_download WHERE id=?"));
    for (const std::size_t place : difference.removed) {
        deletion.bindValue(0, m_jobs[place].row.id());
        if (!deletion.exec() || deletion.numRowsAffected() != 1 ||
            !validators.remove(m_jobs[place]))
            return false;
    }
    QSqlQuery update(database);
    update.prepare(JobRow::updateStatement());
    for (const auto &[place, job] : difference.changed) {
        if (!job.row.update(update) || !validators.remove(m_jobs[place]) || !validators.write(job))
            return false;
    }
    QSqlQuery insertion(database);
    insertion.prepare(JobRow::insertStatement());
    return std::all_of(
        difference.appended.begin(), difference.appended.end(),
        [&](const StoredJob &job) { return job.row.insert(insertion) && validators.write(job); });
}

void JobTable::apply(Difference difference)
{
    for (auto &changed : difference.changed)
        m_jobs[changed.first] = std::move(changed.second);
    if (!difference.removed.empty()) {
        std::size_t kept = difference.removed.front();
        auto removed = difference.removed.cbegin();
        for (std::size_t place = kept; place < m_jobs.size(); ++place) {
            if (removed != difference.removed.cend() && *removed == place)
                ++removed;
            else
                m_jobs[kept++] = std::move(m_jobs[place]);
        }
        m_jobs.erase(m_jobs.begin() + std::ptrdiff_t(kept), m_jobs.end());
    }
    for (StoredJob &job : difference.appended)
        m_jobs.push_back(std::move(job));
}
