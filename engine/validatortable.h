#pragma once

#include <QHash>
#include <QSqlQuery>
#include <QString>

class QSqlDatabase;
struct StoredJob;

// The validators of the stored jobs, in a table of their own beside the list, whose columns other
// versions of the program share. A list without the table has none, and a row that fails costs the
// next resume its protection, not the list. The connection's thread.
class ValidatorTable final
{
public:
    explicit ValidatorTable(const QSqlDatabase &database);

    QHash<QString, QString> read(); // validator of each guid
    // In the transaction of a save. False when a row failed.
    void clear(); // made anew when it is not there or something else is
    bool write(const StoredJob &job);
    bool remove(const StoredJob &job);

private:
    QSqlQuery m_query;
    QSqlQuery m_insertion;
};
