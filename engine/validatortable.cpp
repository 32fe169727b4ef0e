#include "validatortable.h"

#include "storedjob.h"

#include <QSqlDatabase>
#include <QVariant>

ValidatorTable::ValidatorTable(const QSqlDatabase &database)
    : m_query(database)
    , m_insertion(database)
{
    m_query.setForwardOnly(true);
}

QHash<QString, QString> ValidatorTable::read()
{
    QHash<QString, QString> validators;
    m_query.exec(QStringLiteral("SELECT guid,validator FROM source_validator"));
    while (m_query.next())
        validators.insert(m_query.value(0).toString(), m_query.value(1).toString());
    m_query.finish();
    return validators;
}

void ValidatorTable::clear()
{
    m_query.exec(QStringLiteral("DROP TABLE IF EXISTS source_validator"));
    m_query.exec(QStringLiteral("CREATE TABLE source_validator(guid varchar(256) primary key,"
                                "validator varchar(1024))"));
}

bool ValidatorTable::write(const StoredJob &job)
{
    if (job.validator.isEmpty())
        return true;
    if (m_insertion.lastQuery().isEmpty())
        m_insertion.prepare(QStringLiteral("INSERT OR REPLACE INTO source_validator VALUES(?,?)"));
    m_insertion.bindValue(0, job.row.guid());
    m_insertion.bindValue(1, job.validator);
    return m_insertion.exec();
}

bool ValidatorTable::remove(const StoredJob &job)
{
    if (job.validator.isEmpty())
        return true;
    m_query.prepare(QStringLiteral("DELETE FROM source_validator WHERE guid=?"));
    m_query.bindValue(0, job.row.guid());
    return m_query.exec();
}
