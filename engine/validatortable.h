#pragma once

#include <QHash>
#include <QSqlQuery>
#include <QString>

class QSqlDatabase;
struct JobData;

// The validators of the stored jobs, in a table of their own beside the list, whose columns other
// versions of the program share. A list without the table has none, and a row that fails costs the
// next resume its protection, not the list. User-interface thread.
class ValidatorTable final
{
public:
    explicit ValidatorTable(const QSqlDatabase &database);

    QHash<QString, QString> read(); // validator of each guid
    // Both in the transaction of a save.
    void clear(); // made anew when it is not there or something else is
    void write(const JobData &job);

private:
    QSqlQuery m_query;
    QSqlQuery m_insertion;
};
