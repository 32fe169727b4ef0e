#include "validatortable.h"

#include "jobdata.h"

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
    m_insertion.prepare(QStringLiteral("INSERT OR REPLACE INTO source_validator VALUES(?,?)"));
}

void ValidatorTable::write(const JobData &job)
{
    const QString validator = job.validator;
    // Nothing is fetched for a finished job any more.
    if (validator.isEmpty() || job.guid.isEmpty() || job.video_state == JobState::Finished)
        return;
    m_insertion.bindValue(0, job.guid);
    m_insertion.bindValue(1, validator);
    m_insertion.exec();
}
