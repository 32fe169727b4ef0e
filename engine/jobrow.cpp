#include "jobrow.h"

#include "jobdata.h"

#include <QSqlQuery>
#include <QStringList>
#include <QVariant>

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
            [](JobData &job, const QString &value) { job.*Field = value; }};
}

// Written as an empty text: every loaded job starts without it.
template <auto Field>
constexpr Column neverStored(const char *name, const char *type)
{
    Column column = text<Field>(name, type);
    column.text = [](const JobData &) { return QString(); };
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
    for (int i = 0; i < columnCount; ++i) {
        if (columns[i].text)
            m_values[i].text = columns[i].text(job);
        else
            m_values[i].number = columns[i].number(job);
    }
}

void JobRow::load(JobData &job, const QSqlQuery &query)
{
    for (int i = 0; i < columnCount; ++i) {
        if (columns[i].setText)
            columns[i].setText(job, query.value(i).toString());
        else
            columns[i].setNumber(job, query.value(i).toLongLong());
    }
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

void JobRow::bindTo(QSqlQuery &query) const
{
    for (int i = 0; i < columnCount; ++i) {
        const QString &text = m_values[i].text;
        if (!columns[i].text)
            query.bindValue(i, m_values[i].number);
        else // a null text would be stored as NULL
            query.bindValue(i, text.isNull() ? QStringLiteral("") : text);
    }
}

QString JobRow::insertText() const
{
    constexpr int narrowFrom = 8; // from this column on the list has no blanks
    QString result = QStringLiteral("INSERT INTO video_download values(");
    for (int i = 0; i < columnCount; ++i) {
        if (i > 0)
            result += i < narrowFrom ? QStringLiteral(", ") : QStringLiteral(",");
        if (columns[i].text)
            result += QLatin1Char('\'') + m_values[i].text + QLatin1Char('\'');
        else
            result += QString::number(m_values[i].number);
    }
    return result + QLatin1Char(')');
}
