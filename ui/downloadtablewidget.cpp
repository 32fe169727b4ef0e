#include "downloadtablewidget.h"

#include "columns.h"
#include "downloaditem.h"
#include "jobcell.h"
#include "jobtexts.h"
#include "messagebox.h"
#include "trace.h"

#include <QHeaderView>
#include <QIcon>
#include <QMenu>
#include <QSet>

static constexpr int RowHeight = 40;

DownloadTableWidget::DownloadTableWidget(QWidget *parent)
    : JobTableWidget({QStringLiteral("Download TableWidget"), QStringLiteral("49,287,176,255"),
                      DownloadColumns::Count, DownloadColumns::Title},
                     parent)
{
}

void DownloadTableWidget::init(DownloaderManager &manager, Options &options,
                               const QColor &themeColor)
{
    initTable(manager, options);
    setItemDelegate(new DownloadItem(themeColor, this));
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
    auto *state = new JobCell(DownloadColumns::State, *job);
    state->setData(Qt::UserRole, record.id);
    state->setIcon(QIcon(record.stateIcon()));
    setItem(row, DownloadColumns::State, state);
    setItem(row, DownloadColumns::Title, new JobCell(DownloadColumns::Title, *job, record.title));
    setItem(row, DownloadColumns::Information, new QTableWidgetItem(basicInformation(record)));
    setItem(row, DownloadColumns::Progress, new ProgressCell(*job));
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
        item(row, DownloadColumns::State)->setIcon(QIcon(record.stateIcon()));
    if (changes & TitleChanged)
        item(row, DownloadColumns::Title)->setText(record.title);
    if (changes & BasicInformationChanged)
        item(row, DownloadColumns::Information)->setText(basicInformation(record));
    if (changes & (StateChanged | ProgressChanged))
        static_cast<ProgressCell *>(item(row, DownloadColumns::Progress))->refresh();
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
    for (const std::unique_ptr<HttpJob> &job : manager().jobs()) {
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
        manager().startJob(id);
    emit itemSelectionChanged();
}

void DownloadTableWidget::onPause()
{
    for (int id : selectedIds())
        manager().pauseJob(id);
    emit itemSelectionChanged();
}

void DownloadTableWidget::onDelete()
{
    const QVector<int> ids = selectedIdsDownwards();
    if (ids.isEmpty())
        return;
    const QString question =
        ids.size() > 1 ? tr("Are you sure to delete them?") : tr("Are you sure to delete it?");
    if (showMessageBox(QMessageBox::Question, tr("Delete"), question,
                       QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes) == QMessageBox::Yes)
        deleteJobs(ids, true);
    emit itemSelectionChanged();
}

void DownloadTableWidget::fillMenu(QMenu *menu)
{
    menu->addAction(tr("Start"), this, &DownloadTableWidget::onStart)->setEnabled(canStart(true));
    menu->addAction(tr("Pause"), this, &DownloadTableWidget::onPause)->setEnabled(canPause(true));
    menu->addAction(tr("Delete"), this, &DownloadTableWidget::onDelete)->setEnabled(hasSelection());
}

QString DownloadTableWidget::selectAllText() const
{
    return tr("Select All");
}
