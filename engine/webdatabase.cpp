#include "webdatabase.h"

#include "files.h"
#include "instance.h"
#include "jobrecord.h"
#include "jobrow.h"
#include "logfile.h"
#include "options.h"
#include "trace.h"
#include "validatortable.h"

#include <QFile>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

namespace {

const auto damaged = QStringLiteral("damaged");
const auto replaced = QStringLiteral("replaced");

void writeError(const QString &text)
{
    LogFile::instance()->write(QStringLiteral("Error:"), text);
}

} // namespace

WebDatabase::WebDatabase(const QString &folder)
    : m_folder(folder)
    , m_file(folder + QStringLiteral("Task.dat"))
{
}

WebDatabase *WebDatabase::instance()
{
    return ProcessInstance<WebDatabase>::get(Options::instance()->appDataPath());
}

void WebDatabase::destroyInstance()
{
    ProcessInstance<WebDatabase>::destroy();
}

bool WebDatabase::Init()
{
    ensureDir(m_folder);
    TRACE() << path();
    LogFile::instance()->write(QStringLiteral("Database path:"), path());
    m_unread = true;
    if (OpenDatabaseFile())
        return true;
    if (m_state == FileState::Withheld)
        return false;
    if (m_state == FileState::Damaged && !m_file.putAside(damaged))
        return false;
    return CreateDatabaseFile();
}

bool WebDatabase::OpenDatabaseFile()
{
    m_state = m_file.open(thoroughPatience);
    return m_state == FileState::Usable;
}

// An empty list has nothing that would have to be read.
bool WebDatabase::CreateDatabaseFile()
{
    m_state = m_file.create(thoroughPatience);
    if (m_state != FileState::Usable)
        return false;
    const bool created = QSqlQuery(m_file.database()).exec(JobRow::createStatement());
    if (WriteVersion() && created) {
        m_unread = false;
        return true;
    }
    // A file without its table would stand in the way of the next attempt.
    m_file.close();
    QFile::remove(path());
    return false;
}

bool WebDatabase::WriteVersion()
{
    QSqlQuery query(m_file.database());
    if (query.exec(QStringLiteral("INSERT INTO video_download VALUES(%1,'-', '-', '-', '-', '-', "
                                  "'-', '-', '-',0,'-','-',0,0,0,0,'-','-','-',0,0,0)")
                       .arg(m_writtenVersion)))
        return true;
    LogError(QStringLiteral("WriteVersion() return false"), query.lastError());
    return false;
}

bool WebDatabase::DeleteAll()
{
    QSqlQuery query(m_file.database());
    if (query.exec(QStringLiteral("DELETE FROM video_download")))
        return true;
    LogError(QStringLiteral("DeleteAll() return false"), query.lastError());
    m_state = JobListFile::judge(query.lastError(), true);
    return false;
}

void WebDatabase::LogError(const QString &message, const QSqlError &error)
{
    m_state = JobListFile::judge(error);
    writeError(message + error.text());
}

bool WebDatabase::Read(const TakeJob &takeJob)
{
    // Until all of it is read, nothing may be written in its place.
    m_unread = true;
    const QHash<QString, QString> validators = ValidatorTable(m_file.database()).read();
    QSqlQuery query(m_file.database());
    query.setForwardOnly(true);
    if (!query.exec(JobRow::selectStatement())) {
        LogError(QStringLiteral("WebDatabase::Read() return false"), query.lastError());
        m_state = QFile::exists(path()) ? JobListFile::judge(query.lastError(), true)
                                        : FileState::Missing;
        return false;
    }
    // The first row is the version row, whatever it holds.
    m_version = query.next() ? query.value(0).toInt() : 0;
    const FillRecord fill = [&](JobRecord &record, const OutputProfileManager &profiles) {
        const bool stays = record.loadRow(query, m_version, profiles);
        record.validator = validators.value(record.guid);
        return stays;
    };
    while (query.next()) {
        if (!takeJob(fill))
            writeError(QStringLiteral("Load Job Failed."));
    }
    // A page that cannot be read ends the rows as if there were no more of them.
    if (query.lastError().isValid()) {
        LogError(QStringLiteral("WebDatabase::Read() return false"), query.lastError());
        return false;
    }
    m_unread = false;
    return true;
}

QString WebDatabase::asideName() const
{
    return m_file.asideName(damaged);
}

bool WebDatabase::Recreate()
{
    const bool isThere = QFile::exists(path());
    if (isThere && m_state != FileState::Damaged)
        return false;
    m_file.close();
    if (isThere && !m_file.putAside(damaged))
        return false;
    return ensureDir(m_folder) && CreateDatabaseFile();
}

// The list is in memory, whatever became of its file.
bool WebDatabase::bringBack()
{
    if (m_file.isInPlace())
        return true;
    m_file.close();
    ensureDir(m_folder);
    m_state = m_file.open(quickPatience);
    if (m_state == FileState::Withheld)
        return false;
    // What stands there now was never read; somebody may want it.
    if (m_state != FileState::Missing && !m_file.putAside(replaced))
        return false;
    return CreateDatabaseFile();
}

bool WebDatabase::Save(const Records &records, int patience)
{
    if (m_unread || !bringBack())
        return false;
    m_file.setPatience(patience);
    if (WriteAll(records))
        return true;
    // Damage that did not show when the list was read; all of it is in memory.
    return m_state == FileState::Damaged && Recreate() && WriteAll(records);
}

// A row may fail for reasons of its own; rows that a broken file did not take must not be committed
// away.
bool WebDatabase::holds(std::size_t rows)
{
    QSqlQuery query(m_file.database());
    if (query.exec(QStringLiteral("SELECT count(*) FROM video_download")) && query.next() &&
        query.value(0).toULongLong() == rows)
        return true;
    return query.exec(QStringLiteral("PRAGMA quick_check(1)")) && query.next() &&
           query.value(0).toString() == QLatin1String("ok");
}

bool WebDatabase::WriteAll(const Records &records)
{
    QSqlDatabase database = m_file.database();
    // The rows of the last save stay unless all of the new ones are there.
    if (!database.transaction()) {
        LogError(QStringLiteral("WebDatabase::Save() return false"), database.lastError());
        return false;
    }
    if (!DeleteAll() || !WriteVersion()) {
        database.rollback();
        return false;
    }
    QSqlQuery insertion(database);
    insertion.prepare(JobRow::insertStatement()); // what is wrong with it, each row says
    ValidatorTable validators(database);
    validators.clear();
    for (const JobRecord *record : records) {
        record->insertRow(insertion); // a row that fails is logged and does not stop the others
        validators.write(*record);    // after the counts: a validator that is stored is not older
    }
    insertion = QSqlQuery();
    const bool sound = holds(records.size() + 1);
    if (sound && database.commit())
        return true;
    LogError(QStringLiteral("WebDatabase::Save() return false"), database.lastError());
    if (!sound)
        m_state = FileState::Damaged;
    database.rollback();
    return false;
}
