#include "webdatabase.h"

#include "downloadermanager.h"
#include "files.h"
#include "httpjob.h"
#include "instance.h"
#include "logfile.h"
#include "options.h"
#include "trace.h"

#include <QFile>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

namespace {

const auto tableName = QStringLiteral("video_download");

void writeError(const QString &text)
{
    LogFile::instance()->write(QStringLiteral("Error:"), text);
}

// The file cannot be used. It is put aside rather than deleted: a person, or a repair tool, may
// still get something out of it, and out of the ones before it. A journal belongs to its file and
// would spoil the next one.
bool putAside(const QString &path)
{
    const auto name = [&path](int number) {
        const QString aside = path + QStringLiteral(".damaged");
        return number == 0 ? aside : aside + QLatin1Char('_') + QString::number(number);
    };
    int number = 0;
    while (QFile::exists(name(number)))
        ++number;
    const QString journal = path + QStringLiteral("-journal");
    if (QFile::exists(journal) &&
        !QFile::rename(journal, name(number) + QStringLiteral("-journal")))
        return false;
    return QFile::rename(path, name(number));
}

// What SQLite says of a file that holds no database, or a broken one. Every other failure (locked,
// no permission, full, a failing disk, no memory) may be over the next time.
bool meansDamage(const QSqlError &error)
{
    constexpr int corrupt = 11;
    constexpr int notADatabase = 26;
    const int code = error.nativeErrorCode().toInt() & 0xff;
    return code == corrupt || code == notADatabase;
}

// A file of another format, or a table with other columns.
bool meansForeign(const QSqlError &error)
{
    constexpr int genericError = 1;
    return error.nativeErrorCode().toInt() == genericError;
}

} // namespace

WebDatabase::WebDatabase() = default;

WebDatabase::~WebDatabase()
{
    closeConnection();
}

WebDatabase *WebDatabase::instance()
{
    return ProcessInstance<WebDatabase>::get();
}

void WebDatabase::destroyInstance()
{
    ProcessInstance<WebDatabase>::destroy();
}

bool WebDatabase::Init()
{
    const QString folder = Options::instance()->appDataPath();
    ensureDir(folder);
    m_path = folder + QStringLiteral("Task.dat");
    TRACE() << m_path;
    LogFile::instance()->write(QStringLiteral("Database path:"), m_path);
    m_unread = false;
    return openOrCreate();
}

bool WebDatabase::openOrCreate()
{
    if (QFile::exists(m_path)) {
        if (OpenDatabaseFile(m_path))
            return true;
        closeConnection();
        if (!m_damaged || !putAside(m_path))
            return false;
    }
    return CreateDatabaseFile(m_path);
}

void WebDatabase::connectTo(const QString &path)
{
    closeConnection();
    m_db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"));
    m_db.setDatabaseName(path);
    m_db.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(thoroughPatience));
}

void WebDatabase::closeConnection()
{
    if (m_db.isOpen())
        m_db.close();
    m_db = QSqlDatabase();
    if (QSqlDatabase::contains())
        QSqlDatabase::removeDatabase(QLatin1String(QSqlDatabase::defaultConnection));
}

bool WebDatabase::OpenDatabaseFile(const QString &path)
{
    connectTo(path);
    m_damaged = false;
    if (!m_db.open()) {
        LogError(QStringLiteral("OpenDatabaseFile() return false"), m_db.lastError());
        return false;
    }
    // The driver opens anything, and lists no tables where it cannot read.
    QSqlQuery look(m_db);
    if (!look.exec(QStringLiteral("SELECT count(*) FROM sqlite_master"))) {
        LogError(QStringLiteral("OpenDatabaseFile() return false"), look.lastError());
        m_damaged = m_damaged || meansForeign(look.lastError());
        return false;
    }
    look.finish();
    for (const QString &name : m_db.tables(QSql::Tables)) {
        TRACE() << "Table Name:" << name;
        LogFile::instance()->write(QStringLiteral("Database Table name:"), name);
        if (name == tableName)
            return true;
    }
    m_damaged = true;
    m_db.close();
    writeError(QStringLiteral("OpenDatabaseFile() not find table."));
    return false;
}

bool WebDatabase::CreateDatabaseFile(const QString &path)
{
    connectTo(path);
    if (!m_db.open()) {
        LogError(QStringLiteral("CreateDatabaseFile() return false"), m_db.lastError());
        return false;
    }
    const bool created = QSqlQuery(m_db).exec(QStringLiteral(
        "create table video_download(id int primary key,page varchar(1024),title varchar(256),"
        "keyword varchar(1024),category varchar(256),video_url varchar(1024),"
        "video_usser_agent varchar(1024),video_cookies varchar(1024),video_dimension varchar(10),"
        "video_state int,video_type varchar(256),video_mame varchar(256),download_bytes long,"
        "total_bytes long,duration long,output_format int,output_name  varchar(256),"
        "output_demision varchar(10),guid varchar(256),download_time int,quality_index int,"
        "spend_time int)"));
    if (WriteVersion() && created)
        return true;
    // A file without its table would stand in the way of the next attempt.
    closeConnection();
    QFile::remove(path);
    return false;
}

bool WebDatabase::WriteVersion()
{
    QSqlQuery query(m_db);
    if (query.exec(QStringLiteral("INSERT INTO video_download VALUES(%1,'-', '-', '-', '-', '-', "
                                  "'-', '-', '-',0,'-','-',0,0,0,0,'-','-','-',0,0,0)")
                       .arg(m_writtenVersion)))
        return true;
    LogError(QStringLiteral("WriteVersion() return false"), query.lastError());
    return false;
}

bool WebDatabase::DeleteAll()
{
    QSqlQuery query(m_db);
    if (query.exec(QStringLiteral("DELETE FROM video_download")))
        return true;
    LogError(QStringLiteral("DeleteAll() return false"), query.lastError());
    m_damaged = m_damaged || meansForeign(query.lastError());
    return false;
}

void WebDatabase::LogError(const QString &message, const QSqlError &error)
{
    m_damaged = meansDamage(error);
    writeError(message + error.text());
}

bool WebDatabase::Read(DownloaderManager *manager)
{
    // Until all of it is read, nothing may be written in its place.
    m_unread = true;
    QSqlQuery query(m_db);
    query.setForwardOnly(true);
    if (!query.exec(QStringLiteral(
            "SELECT id,page,title,keyword,category,video_url,video_usser_agent,video_cookies,"
            "video_dimension,video_state,video_type,video_mame,download_bytes,total_bytes,duration,"
            "output_format,output_name,output_demision,guid,download_time,quality_index,spend_time "
            "FROM video_download"))) {
        LogError(QStringLiteral("WebDatabase::Read() return false"), query.lastError());
        m_damaged = m_damaged || meansForeign(query.lastError());
        return false;
    }
    // The first row is the version row, whatever it holds.
    m_version = query.next() ? query.value(0).toInt() : 0;
    while (query.next()) {
        auto job = manager->newJob();
        if (job->record.loadRow(query, m_version))
            manager->addLoadedJob(std::move(job));
        else
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

bool WebDatabase::Recreate()
{
    if (m_path.isEmpty() || !m_damaged)
        return false;
    closeConnection();
    if (QFile::exists(m_path) && !putAside(m_path))
        return false;
    m_unread = false;
    return CreateDatabaseFile(m_path);
}

bool WebDatabase::Save(DownloaderManager *manager, int patience)
{
    if (m_unread || m_path.isEmpty())
        return false;
    // Taken away while the program runs, or not to be made when it was needed: the list is here.
    if (!m_db.isOpen() || !QFile::exists(m_path)) {
        closeConnection();
        if (!openOrCreate())
            return false;
    }
    QSqlQuery(m_db).exec(QStringLiteral("PRAGMA busy_timeout=%1").arg(patience));
    if (WriteAll(manager))
        return true;
    // Damage that did not show when the list was read; all of it is in memory.
    return m_damaged && Recreate() && WriteAll(manager);
}

// A row may fail for reasons of its own; rows that a broken file did not take must not be committed
// away.
bool WebDatabase::IsSound(const DownloaderManager *manager)
{
    int rows = 1;
    for (const auto &job : manager->jobs())
        rows += job->removed ? 0 : 1;
    QSqlQuery query(m_db);
    if (query.exec(QStringLiteral("SELECT count(*) FROM video_download")) && query.next() &&
        query.value(0).toInt() == rows)
        return true;
    return query.exec(QStringLiteral("PRAGMA quick_check(1)")) && query.next() &&
           query.value(0).toString() == QLatin1String("ok");
}

bool WebDatabase::WriteAll(DownloaderManager *manager)
{
    m_damaged = false;
    // The rows of the last save stay unless all of the new ones are there.
    if (!m_db.transaction()) {
        LogError(QStringLiteral("WebDatabase::Save() return false"), m_db.lastError());
        return false;
    }
    if (!DeleteAll() || !WriteVersion()) {
        m_db.rollback();
        return false;
    }
    manager->saveAll(); // logs the rows that failed
    const bool sound = IsSound(manager);
    if (sound && m_db.commit())
        return true;
    LogError(QStringLiteral("WebDatabase::Save() return false"), m_db.lastError());
    m_damaged = m_damaged || !sound;
    m_db.rollback();
    return false;
}
