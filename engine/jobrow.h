#pragma once

#include <QString>

#include <array>

class QSqlQuery;
struct JobData;

// One job as it is stored: a row of the table video_download. The columns are written down once, in
// the source file; every statement and every value follows from there. One thread at a time:
// a JobData is read and filled on the user-interface thread, a query used on its connection's.
class JobRow final
{
public:
    static constexpr int columnCount = 22;

    JobRow() = default;
    explicit JobRow(const JobData &job); // as it is to be written
    // The row that a query stands on which was made with selectStatement(). *exact becomes false
    // when a value is of another kind than this program writes.
    JobRow(const QSqlQuery &query, bool *exact);
    static JobRow versionRow(qint32 version);

    qint64 id() const { return m_numbers.front(); }
    QString guid() const { return m_texts.back(); }
    void load(JobData &job) const;       // puts the values into the stored fields
    bool isOf(const JobData &job) const; // true: to write the job would write this row again
    bool operator==(const JobRow &other) const;

    static QString createStatement();
    static QString selectStatement();
    static QString insertStatement();
    static QString updateStatement(); // of the row that has the id
    // Run a query that was prepared with one of these, and log what is written.
    bool insert(QSqlQuery &prepared) const;
    bool update(QSqlQuery &prepared) const; // true: exactly one row was there to change

private:
    void logAs(const QString &verb) const;
    QString valueText() const;
    void bindTo(QSqlQuery &query, std::size_t first) const; // first: the column bound first

    std::array<qint64, 9> m_numbers{}; // the numbers of the columns in their order, and the texts
    std::array<QString, 13> m_texts;
};
