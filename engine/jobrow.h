#pragma once

#include <QString>

#include <array>

class QSqlQuery;
struct JobData;

// One job as it is stored: a row of the table video_download. The columns are written down once, in
// the source file; every statement and every value follows from there. User-interface thread.
class JobRow final
{
public:
    static constexpr int columnCount = 22;

    JobRow() = default;
    explicit JobRow(const JobData &job); // as it is to be written

    // Puts the row that the query stands on, read by selectStatement(), into the stored fields.
    static void load(JobData &job, const QSqlQuery &query);

    static QString createStatement();
    static QString selectStatement();
    static QString insertStatement(); // with a placeholder for each column

    void bindTo(QSqlQuery &query) const;
    // The insertion as it reads with its values; they are bound, this is for the log.
    QString insertText() const;

private:
    struct Value
    {
        qint64 number = 0;
        QString text;
    };
    std::array<Value, columnCount> m_values;
};
