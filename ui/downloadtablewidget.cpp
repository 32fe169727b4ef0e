#include "downloadtablewidget.h"

#include "downloaditem.h"
#include "jobtexts.h"
#include "messagebox.h"
#include "trace.h"

#include <QHeaderView>
#include <QIcon>
#include <QMenu>
#include <QSet>

namespace {

constexpr int RowHeight = 40;

enum Column { StateColumn, TitleColumn, InformationColumn, ProgressColumn, ColumnCount };

// The delegate draws the progress data; who cannot see it hears what is drawn.
class ProgressCell final : public QTableWidgetItem
{
public:
    explicit ProgressCell(const QString &data)
        : QTableWidgetItem(data)
    {
    }
    QVariant data(int role) const override
    {
        if (role != Qt::AccessibleTextRole)
            return QTableWidgetItem::data(role);
        const std::optional<ProgressReading> reading = readProgress(text());
        if (!reading)
            return QString();
        if (reading->failed)
            return stateDescription(JobState::Errored);
        return QStringLiteral("%1%, %2").arg(
            QString::number(int(100 * reading->value / reading->maximum)), reading->caption);
    }
};

} // namespace

DownloadTableWidget::DownloadTableWidget(QWidget *parent)
    : JobTableWidget({QStringLiteral("Download TableWidget"), QStringLiteral("49,287,176,255"),
                      ColumnCount, TitleColumn},
                     parent)
{
    setAccessibleName(QStringLiteral("Downloading videos"));
    setItemDelegate(new DownloadItem(this));
}

void DownloadTableWidget::init()
{
    initTable();
    setEditTriggers(NoEditTriggers);
    verticalHeader()->setDefaultSectionSize(RowHeight);
    connect(this, &QAbstractItemView::doubleClicked, this,
            &DownloadTableWidget::onDoubleClickEvent);
}

void DownloadTableWidget::insertJob(HttpJob *job, int row)
{
    if (row < 0)
        row = rowCount();
    const JobRecord &record = job->record;
    insertRow(row);
    auto *state = new QTableWidgetItem;
    state->setData(Qt::UserRole, record.id);
    setState(state, *job);
    setItem(row, StateColumn, state);
    setItem(row, TitleColumn, new QTableWidgetItem(record.title));
    setItem(row, InformationColumn, new QTableWidgetItem(basicInformation(record)));
    setItem(row, ProgressColumn, new ProgressCell(progressData(record, job->elapsed())));
}

void DownloadTableWidget::setState(QTableWidgetItem *item, const HttpJob &job)
{
    const QString description = stateDescription(job.record.video_state);
    item->setIcon(QIcon(job.record.stateIcon()));
    item->setToolTip(description);
    item->setData(Qt::AccessibleTextRole, description);
}

bool DownloadTableWidget::updateJob(HttpJob *job)
{
    JobRecord &record = job->record;
    const int row = rowOf(record.id);
    if (row < 0)
        return false;
    const quint32 changes =
        record.changeFlags.value() &
        (StateChanged | TitleChanged | BasicInformationChanged | ProgressChanged);
    // Before the values are read: what changes from now on is shown by the next refresh.
    record.changeFlags.clear(changes);
    if (changes & StateChanged)
        setState(item(row, StateColumn), *job);
    if (changes & TitleChanged)
        item(row, TitleColumn)->setText(record.title);
    if (changes & BasicInformationChanged)
        item(row, InformationColumn)->setText(basicInformation(record));
    if (changes & (StateChanged | ProgressChanged))
        item(row, ProgressColumn)->setText(progressData(record, job->elapsed()));
    return true;
}

// One pass over the jobs instead of a search of the job for every row.
template <typename Test>
bool DownloadTableWidget::anyJob(bool selectedOnly, Test test) const
{
    if (selectedOnly && !hasSelection())
        return false;
    QSet<int> selected;
    if (selectedOnly) {
        const QVector<int> ids = selectedIds();
        selected = QSet<int>(ids.begin(), ids.end());
    }
    for (const std::unique_ptr<HttpJob> &job : DownloaderManager::instance()->jobs()) {
        const int id = job->record.id;
        if (!job->removed && test(*job) && (selectedOnly ? selected.contains(id) : rowOf(id) >= 0))
            return true;
    }
    return false;
}

bool DownloadTableWidget::canStart(bool selectedOnly) const
{
    return anyJob(selectedOnly, [](const HttpJob &job) { return job.canStart(); });
}

bool DownloadTableWidget::canPause(bool selectedOnly) const
{
    return anyJob(selectedOnly, [](const HttpJob &job) { return job.isRunning(); });
}

void DownloadTableWidget::onDoubleClickEvent(const QModelIndex &index)
{
    TRACE() << "DownloadTableWidget::onDoubleClickEvent()" << index.row();
}

void DownloadTableWidget::onStart()
{
    for (int id : selectedIds())
        DownloaderManager::instance()->startJob(id);
    emit itemSelectionChanged();
}

void DownloadTableWidget::onPause()
{
    for (int id : selectedIds())
        DownloaderManager::instance()->pauseJob(id);
    emit itemSelectionChanged();
}

void DownloadTableWidget::onDelete()
{
    const QVector<int> ids = selectedIdsDownwards();
    const QString question = ids.size() > 1 ? QStringLiteral("Are you sure to delete them?")
                                            : QStringLiteral("Are you sure to delete it?");
    if (showMessageBox(QMessageBox::Question, QStringLiteral("Delete"), question,
                       QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes) == QMessageBox::Yes)
        deleteJobs(ids, true);
    emit itemSelectionChanged();
}

void DownloadTableWidget::fillMenu(QMenu *menu)
{
    menu->addAction(QStringLiteral("Start"), this, &DownloadTableWidget::onStart)
        ->setEnabled(canStart(true));
    menu->addAction(QStringLiteral("Pause"), this, &DownloadTableWidget::onPause)
        ->setEnabled(canPause(true));
    menu->addAction(QStringLiteral("Delete"), this, &DownloadTableWidget::onDelete)
        ->setEnabled(hasSelection());
}

QString DownloadTableWidget::selectAllText() const
{
    return QStringLiteral("Select All");
}
