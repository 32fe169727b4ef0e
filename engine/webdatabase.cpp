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

#include <utility>

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
    m_table.clear();
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
        m_table.setInFile(m_table.jobs().empty());
        m_foreignWrites = m_file.foreignWrites();
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
    const bool read = ReadRows();
    TakeRows(takeJob);
    return read;
}

bool WebDatabase::ReadRows()
{
    m_unread = true;
    m_rowsRead = false;
    QHash<QString, QString> validators = ValidatorTable(m_file.database()).read();
    m_table.clear();
    m_foreignWrites = m_file.foreignWrites();
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
    bool exact = true;
    exact =
        query.isValid() && JobRow(query, &exact) == JobRow::versionRow(m_writtenVersion) && exact;
    while (query.next()) {
        StoredJob job(JobRow(query, &exact));
        job.validator = validators.take(job.row.guid());
        m_table.append(std::move(job));
    }
    // A page that cannot be read ends the rows as if there were no more of them.
    if (query.lastError().isValid()) {
        LogError(QStringLiteral("WebDatabase::Read() return false"), query.lastError());
        return false;
    }
    query.finish();
    m_rowsRead = true;
    m_table.setInFile(exact && validators.isEmpty() && hasIndexOf(m_table));
    return true;
}

void WebDatabase::TakeRows(const TakeJob &takeJob)
{
    for (const StoredJob &job : m_table.jobs()) {
        if (!takeJob([&](JobRecord &record, const OutputProfileManager &profiles) {
                const bool stays = record.loadRow(job.row, m_version, profiles);
                record.validator = job.validator;
                return stays;
            }))
            writeError(QStringLiteral("Load Job Failed."));
    }
    // Before all of it is in memory, nothing may be written in its place.
    if (m_rowsRead)
        m_unread = false;
}

// The rows were read without the index, which answers this; a broken one must not stay until a job
// changes.
bool WebDatabase::hasIndexOf(const JobTable &table) const
{
    QSqlQuery query(m_file.database());
    return query.exec(QStringLiteral("SELECT count(id),sum(id) FROM video_download")) &&
           query.next() && query.value(0).toULongLong() == table.jobs().size() + 1 &&
           query.value(1).toLongLong() == table.sumOfIds() + m_writtenVersion;
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
    return Save(differenceTo(records), patience);
}

bool WebDatabase::Save(JobTable::Difference difference, int patience)
{
    if (m_unread || !bringBack())
        return false;
    if (m_table.isInFile()) {
        const bool nothingToWrite = difference.isEmpty();
        m_file.setPatience(nothingToWrite ? 0 : patience);
        if (nothingToWrite && m_file.foreignWrites() == m_foreignWrites)
            return true;
        if (begin()) {
            const bool written = m_file.foreignWrites() == m_foreignWrites &&
                                 m_table.write(difference, m_file.database());
            if (written && commit()) {
                m_table.apply(std::move(difference));
                return true;
            }
            m_file.database().rollback();
            // A reader that stayed for that long has to be waited for once only.
            if (written && m_state == FileState::Withheld)
                return false;
        } else if (m_state == FileState::Withheld) {
            return nothingToWrite;
        }
        // Whatever it was: to write all of it is right in every case.
    }
    m_table.apply(std::move(difference));
    m_table.setInFile(false);
    m_file.setPatience(patience);
    if (WriteAll())
        return true;
    // Damage that did not show when the list was read; all of it is in memory.
    return m_state == FileState::Damaged && Recreate() && WriteAll();
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

// Locks the file at once: who cannot write learns it before anything is compared or changed.
bool WebDatabase::begin()
{
    QSqlQuery query(m_file.database());
    if (query.exec(QStringLiteral("BEGIN IMMEDIATE")))
        return true;
    LogError(QStringLiteral("WebDatabase::Save() return false"), query.lastError());
    return false;
}

bool WebDatabase::commit()
{
    if (m_file.database().commit())
        return true;
    LogError(QStringLiteral("WebDatabase::Save() return false"), m_file.database().lastError());
    return false;
}

bool WebDatabase::WriteAll()
{
    // The rows of the last save stay unless all of the new ones are there.
    if (!begin())
        return false;
    bool whole = true;
    if (DeleteAll() && WriteVersion()) {
        QSqlQuery insertion(m_file.database());
        insertion.prepare(JobRow::insertStatement()); // what is wrong with it, each row says
        ValidatorTable validators(m_file.database());
        validators.clear();
        // A row that fails is logged and does not stop the others.
        for (const StoredJob &job : m_table.jobs())
            whole = job.row.insert(insertion) && validators.write(job) && whole;
        insertion = QSqlQuery();
        const bool sound = holds(m_table.jobs().size() + 1);
        m_foreignWrites = m_file.foreignWrites(); // while nobody else can write
        if (sound && commit()) {
            m_table.setInFile(whole);
            return true;
        }
        if (!sound) {
            writeError(QStringLiteral("WebDatabase::Save() return false"));
            m_state = FileState::Damaged;
        }
    }
    m_file.database().rollback();
    return false;
}
