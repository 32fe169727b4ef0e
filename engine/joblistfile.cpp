#include "joblistfile.h"

#include "logfile.h"
#include "platform.h"
#include "trace.h"

#include <QFile>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

namespace {

void writeError(const QString &text)
{
    LogFile::instance()->write(QStringLiteral("Error:"), text);
}

} // namespace

JobListFile::JobListFile(const QString &path)
    : m_path(path)
{
}

JobListFile::~JobListFile()
{
    close();
}

FileState JobListFile::judge(const QSqlError &error, bool aboutTable)
{
    constexpr int generic = 1;
    constexpr int corrupt = 11;
    constexpr int notADatabase = 26;
    switch (error.nativeErrorCode().toInt() & 0xff) {
    case corrupt:
    case notADatabase:
        return FileState::Damaged;
    case generic:
        return aboutTable ? FileState::Damaged : FileState::Withheld;
    default: // locked, no permission, full, a failing disk, no memory
        return FileState::Withheld;
    }
}

bool JobListFile::connectToFile(int patience)
{
    close();
    m_database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"));
    m_database.setDatabaseName(m_path);
    m_database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(patience));
    return m_database.open();
}

void JobListFile::close()
{
    if (m_database.isOpen())
        m_database.close();
    m_database = QSqlDatabase();
    if (QSqlDatabase::contains())
        QSqlDatabase::removeDatabase(QLatin1String(QSqlDatabase::defaultConnection));
    m_identity.clear();
}

FileState JobListFile::open(int patience)
{
    if (!QFile::exists(m_path))
        return FileState::Missing;
    const auto failed = [this](const QSqlError &error) {
        writeError(QStringLiteral("OpenDatabaseFile() return false") + error.text());
        const FileState state = judge(error, true);
        close();
        return state;
    };
    if (!connectToFile(patience))
        return failed(m_database.lastError());
    m_identity = platform::fileIdentity(m_path);
    // The driver opens anything, and lists no tables where it cannot read.
    QSqlQuery look(m_database);
    if (!look.exec(QStringLiteral("SELECT count(*) FROM sqlite_master"))) {
        const QSqlError error = look.lastError();
        look = QSqlQuery();
        return failed(error);
    }
    look = QSqlQuery();
    for (const QString &name : m_database.tables(QSql::Tables)) {
        TRACE() << "Table Name:" << name;
        LogFile::instance()->write(QStringLiteral("Database Table name:"), name);
        if (name == QLatin1String("video_download"))
            return FileState::Usable;
    }
    close();
    writeError(QStringLiteral("OpenDatabaseFile() not find table."));
    return FileState::Damaged;
}

FileState JobListFile::create(int patience)
{
    if (connectToFile(patience)) {
        m_identity = platform::fileIdentity(m_path);
        return FileState::Usable;
    }
    const QSqlError error = m_database.lastError();
    writeError(QStringLiteral("CreateDatabaseFile() return false") + error.text());
    close();
    return judge(error);
}

void JobListFile::setPatience(int milliseconds)
{
    QSqlQuery(m_database).exec(QStringLiteral("PRAGMA busy_timeout=%1").arg(milliseconds));
}

qint64 JobListFile::foreignWrites() const
{
    QSqlQuery query(m_database);
    return query.exec(QStringLiteral("PRAGMA data_version")) && query.next()
               ? query.value(0).toLongLong()
               : -1;
}

bool JobListFile::isInPlace() const
{
    return m_database.isOpen() && platform::fileIdentity(m_path) == m_identity;
}

QString JobListFile::asideName(const QString &reason) const
{
    const QString first = m_path + QLatin1Char('.') + reason;
    QString name = first;
    for (int number = 1; QFile::exists(name); ++number)
        name = first + QLatin1Char('_') + QString::number(number);
    return name;
}

bool JobListFile::putAside(const QString &reason)
{
    close();
    const QString aside = asideName(reason);
    // A journal belongs to its file and would spoil the next one.
    const QString journal = QStringLiteral("-journal");
    if (QFile::exists(m_path + journal) && !QFile::rename(m_path + journal, aside + journal))
        return false;
    if (!QFile::rename(m_path, aside))
        return false;
    LogFile::instance()->write(QStringLiteral("Database put aside:"), aside);
    return true;
}
