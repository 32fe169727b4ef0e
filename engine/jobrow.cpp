#include "jobrow.h"

#include "jobdata.h"
#include "logfile.h"
#include "trace.h"

#include <QSqlQuery>
#include <QStringList>
#include <QVariant>

#include <iterator>

namespace {

// A column holds a number or a text; the functions of the other kind are null.
struct Column
{
    const char *name;
    const char *type;
    qint64 (*number)(const JobData &);
    void (*setNumber)(JobData &, qint64);
    QString (*text)(const JobData &);
    void (*setText)(JobData &, const QString &);
    // The same as what text() gives, without a copy.
    bool (*isText)(const JobData &, const QString &);
};

template <typename Number>
Number plain(const SharedNumber<Number> &number)
{
    return number;
}
template <typename Number>
Number plain(Number number)
{
    return number;
}

// Most texts that are compared are one text, and are not looked into.
bool isSame(const QString &left, const QString &right)
{
    return left.isSharedWith(right) || left == right;
}
bool isSame(const SharedText &left, const QString &right)
{
    return left.is(right);
}

template <auto Field>
constexpr Column number(const char *name, const char *type)
{
    return {name,
            type,
            [](const JobData &job) { return static_cast<qint64>(plain(job.*Field)); },
            [](JobData &job, qint64 value) {
                job.*Field = static_cast<decltype(plain(job.*Field))>(value);
            },
            nullptr,
            nullptr,
            nullptr};
}

template <auto Field>
constexpr Column text(const char *name, const char *type)
{
    return {name,
            type,
            nullptr,
            nullptr,
            [](const JobData &job) -> QString { return job.*Field; },
            [](JobData &job, const QString &value) { job.*Field = value; },
            [](const JobData &job, const QString &value) { return isSame(job.*Field, value); }};
}

// Written as an empty text: every loaded job starts without it.
template <auto Field>
constexpr Column neverStored(const char *name, const char *type)
{
    Column column = text<Field>(name, type);
    column.text = [](const JobData &) { return QString(); };
    column.isText = [](const JobData &, const QString &value) { return value.isEmpty(); };
    return column;
}

// In the order of the table, which is that of every statement.
constexpr Column columns[] = {
    number<&JobData::id>("id", "int primary key"),
    text<&JobData::page>("page", "varchar(1024)"),
    text<&JobData::title>("title", "varchar(256)"),
    text<&JobData::keyword>("keyword", "varchar(1024)"),
    text<&JobData::category>("category", "varchar(256)"),
    text<&JobData::video_url>("video_url", "varchar(1024)"),
    neverStored<&JobData::video_usser_agent>("video_usser_agent", "varchar(1024)"),
    neverStored<&JobData::video_cookies>("video_cookies", "varchar(1024)"),
    text<&JobData::video_dimension>("video_dimension", "varchar(10)"),
    number<&JobData::video_state>("video_state", "int"),
    text<&JobData::video_type>("video_type", "varchar(256)"),
    text<&JobData::video_mame>("video_mame", "varchar(256)"),
    number<&JobData::download_bytes>("download_bytes", "long"),
    number<&JobData::total_bytes>("total_bytes", "long"),
    number<&JobData::duration>("duration", "long"),
    number<&JobData::output_format>("output_format", "int"),
    text<&JobData::output_name>("output_name", " varchar(256)"), // the blank is the format's
    text<&JobData::output_demision>("output_demision", "varchar(10)"),
    text<&JobData::guid>("guid", "varchar(256)"),
    number<&JobData::download_time>("download_time", "int"),
    number<&JobData::quality_index>("quality_index", "int"),
    number<&JobData::spend_time>("spend_time", "int"),
};
static_assert(std::size(columns) == JobRow::columnCount);

// Where a column's value is among those of its kind.
constexpr auto places = [] {
    std::array<std::size_t, JobRow::columnCount> result{};
    std::size_t numbers = 0;
    std::size_t texts = 0;
    for (std::size_t i = 0; i < result.size(); ++i)
        result[i] = columns[i].text ? texts++ : numbers++;
    return result;
}();

// One text for each column, joined by commas.
template <typename Part>
QString listOfColumns(Part part)
{
    QStringList parts;
    for (const Column &column : columns)
        parts += part(column);
    return parts.join(QLatin1Char(','));
}

} // namespace

JobRow::JobRow(const JobData &job)
{
    for (std::size_t i = 0; i < columnCount; ++i) {
        if (columns[i].text)
            m_texts[places[i]] = columns[i].text(job);
        else
            m_numbers[places[i]] = columns[i].number(job);
    }
}

JobRow::JobRow(const QSqlQuery &query, bool *exact)
{
    for (std::size_t i = 0; i < columnCount; ++i) {
        const QVariant value = query.value(int(i));
        if (columns[i].text) {
            m_texts[places[i]] = value.toString();
            *exact = *exact && value.type() == QVariant::String && !value.isNull();
        } else {
            m_numbers[places[i]] = value.toLongLong();
            *exact = *exact && value.type() == QVariant::LongLong;
        }
    }
}

JobRow JobRow::versionRow(qint32 version)
{
    JobRow row;
    row.m_numbers.front() = version;
    row.m_texts.fill(QStringLiteral("-"));
    return row;
}

void JobRow::load(JobData &job) const
{
    for (std::size_t i = 0; i < columnCount; ++i) {
        if (columns[i].text)
            columns[i].setText(job, m_texts[places[i]]);
        else
            columns[i].setNumber(job, m_numbers[places[i]]);
    }
}

bool JobRow::isOf(const JobData &job) const
{
    for (std::size_t i = 0; i < columnCount; ++i) {
        if (columns[i].text ? !columns[i].isText(job, m_texts[places[i]])
                            : columns[i].number(job) != m_numbers[places[i]])
            return false;
    }
    return true;
}

bool JobRow::operator==(const JobRow &other) const
{
    return m_numbers == other.m_numbers && m_texts == other.m_texts;
}

QString JobRow::createStatement()
{
    return QStringLiteral("create table video_download(") + listOfColumns([](const Column &column) {
               return QLatin1String(column.name) + QLatin1Char(' ') + QLatin1String(column.type);
           }) +
           QLatin1Char(')');
}

QString JobRow::selectStatement()
{
    return QStringLiteral("SELECT ") +
           listOfColumns([](const Column &column) { return QLatin1String(column.name); }) +
           QStringLiteral(" FROM video_download");
}

QString JobRow::insertStatement()
{
    return QStringLiteral("INSERT INTO video_download values(") +
           listOfColumns([](const Column &) { return QStringLiteral("?"); }) + QLatin1Char(')');
}

QString JobRow::updateStatement()
{
    QStringList parts;
    for (std::size_t i = 1; i < columnCount; ++i)
        parts += QLatin1String(columns[i].name) + QStringLiteral("=?");
    return QStringLiteral("UPDATE video_download SET ") + parts.join(QLatin1Char(',')) +
           QStringLiteral(" WHERE id=?");
}

bool JobRow::insert(QSqlQuery &prepared) const
{
    logAs(QStringLiteral("INSERT INTO"));
    bindTo(prepared, 0);
    if (prepared.exec())
        return true;
    LogFile::instance()->write(QStringLiteral("Database insert failed:"),
                               QStringLiteral("Failed Video ID(%1)").arg(id()));
    return false;
}

bool JobRow::update(QSqlQuery &prepared) const
{
    logAs(QStringLiteral("UPDATE"));
    bindTo(prepared, 1); // the id comes last
    return prepared.exec() && prepared.numRowsAffected() == 1;
}

void JobRow::bindTo(QSqlQuery &query, std::size_t first) const
{
    for (std::size_t position = 0; position < columnCount; ++position) {
        const std::size_t i = (first + position) % columnCount;
        if (!columns[i].text) {
            query.bindValue(int(position), m_numbers[places[i]]);
            continue;
        }
        const QString &text = m_texts[places[i]];
        // A null text would be stored as NULL.
        query.bindValue(int(position), text.isNull() ? QStringLiteral("") : text);
    }
}

// The statement as it reads with its values, which are bound.
void JobRow::logAs(const QString &verb) const
{
    LogFile *log = LogFile::instance();
    if (!log->isOpen() && !lcTrace().isDebugEnabled())
        return;
    const QString text = verb + QStringLiteral(" video_download values(") + valueText();
    TRACE() << text;
    log->write(QStringLiteral("Database:"), text);
}

QString JobRow::valueText() const
{
    constexpr std::size_t narrowFrom = 8; // from this column on the list has no blanks
    QString result;
    for (std::size_t i = 0; i < columnCount; ++i) {
        if (i > 0)
            result += i < narrowFrom ? QStringLiteral(", ") : QStringLiteral(",");
        if (columns[i].text)
            result += QLatin1Char('\'') + m_texts[places[i]] + QLatin1Char('\'');
        else
            result += QString::number(m_numbers[places[i]]);
    }
    return result + QLatin1Char(')');
}
