#include "jobcell.h"

#include "columns.h"
#include "httpjob.h"
#include "jobtexts.h"
#include "platform.h"

JobCell::JobCell(int column, const HttpJob &job, const QString &text)
    : QTableWidgetItem(text, UserType + column)
    , m_job(job)
{
}

QVariant JobCell::data(int role) const
{
    if (role == Qt::ToolTipRole)
        return tip();
    if (role == Qt::AccessibleTextRole)
        return spoken();
    return QTableWidgetItem::data(role);
}

QString JobCell::tip() const
{
    switch (type() - UserType) {
    case DownloadColumns::State:
        return conditionText(job());
    case DownloadColumns::Title:
        return troubleText(job());
    default:
        return QString();
    }
}

QString JobCell::spoken() const
{
    if (type() - UserType == DownloadColumns::State)
        return conditionText(job());
    const QString trouble = tip();
    return trouble.isEmpty() ? text() : text() + QLatin1Char('\n') + trouble;
}

ProgressCell::ProgressCell(const HttpJob &job)
    : JobCell(DownloadColumns::Progress, job)
{
    setText(progressData(job.record, job.elapsed()));
}

void ProgressCell::refresh()
{
    setText(progressData(job().record, job().elapsed()));
    const qint64 bytes = job().record.download_bytes;
    if (!job().isRunning()) {
        m_speed.reset();
    } else if (bytes > 0) {
        if (!m_speed)
            m_speed = std::make_unique<SpeedMeter>();
        m_speed->note(platform::tickCount(), bytes);
    }
}

QString ProgressCell::tip() const
{
    const qint64 bytes = job().record.download_bytes;
    const qint64 speed = m_speed ? m_speed->speed(platform::tickCount(), bytes) : -1;
    return progressText(job(), text(), speed);
}

QString ProgressCell::spoken() const
{
    const QString seen = spokenProgress(text());
    return seen.isEmpty() || !troubleText(job()).isEmpty() ? tip() : seen;
}
