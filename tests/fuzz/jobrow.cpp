#include "jobrow.h"

#include "fuzz.h"
#include "jobdata.h"
#include "texts.h"

#include <QList>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVariant>

namespace {
// A list of one row, in memory.
struct List
{
    QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE"_q);
    QSqlQuery insert, select, clear;

    List()
    {
        database.setDatabaseName(":memory:"_q);
        holds(database.open() && QSqlQuery(database).exec(JobRow::createStatement()));
        insert = QSqlQuery(database);
        insert.prepare(JobRow::insertStatement());
        select = QSqlQuery(database);
        select.prepare(JobRow::selectStatement());
        clear = QSqlQuery(database);
        clear.prepare("DELETE FROM video_download"_q);
    }
    void load(JobData &job)
    {
        bool exact = true;
        holds(select.exec() && select.next());
        JobRow(select, &exact).load(job);
        select.finish();
        holds(clear.exec());
    }
};
} // namespace

// A stored row, its columns as lines: what is read of it can be shown, and is written as it is.
void fuzz(const QByteArray &input)
{
    static List &list = *new List;
    const QList<QByteArray> lines = input.split('\n');
    for (int i = 0; i < JobRow::columnCount; ++i)
        list.insert.bindValue(i, QString::fromUtf8(lines.value(i)));
    JobData first, second;
    holds(list.insert.exec());
    list.load(first);
    formatSize(first.total_bytes);
    formatDuration(first.duration);
    holds(JobRow(first).insert(list.insert));
    list.load(second);
    holds(JobRow(second) == JobRow(first));
}
