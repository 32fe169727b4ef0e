#include "finishedtablewidget.h"

#include "dlgdeletefinished.h"
#include "files.h"
#include "finisheditem.h"
#include "jobtexts.h"
#include "messagebox.h"
#include "options.h"
#include "trace.h"

#include <QFile>
#include <QKeyEvent>
#include <QMenu>
#include <QScopedValueRollback>

namespace {

enum Column { NameColumn, InformationColumn, ColumnCount };

void tell(const QString &title, const QString &text)
{
    showMessageBox(QMessageBox::Information, title, text, QMessageBox::Ok, QMessageBox::Ok);
}

} // namespace

FinishedTableWidget::FinishedTableWidget(QWidget *parent)
    : JobTableWidget({QStringLiteral("Finished TableWidget"), QStringLiteral("387,386"),
                      ColumnCount, NameColumn},
                     parent)
{
    setAccessibleName(QStringLiteral("Finished videos"));
    setItemDelegate(new FinishedItem(this));
}

void FinishedTableWidget::init()
{
    initTable();
    connect(this, &QTableWidget::cellDoubleClicked, this, &FinishedTableWidget::onDoubleClickEvent);
    connect(this, &QTableWidget::cellChanged, this, &FinishedTableWidget::onCellChange);
}

void FinishedTableWidget::insertJob(HttpJob *job, int row)
{
    const QScopedValueRollback<bool> filling(m_filling, true);
    if (row < 0)
        row = rowCount();
    const JobRecord &record = job->record;
    insertRow(row);
    auto *name = new QTableWidgetItem(record.title);
    name->setData(Qt::UserRole, record.id);
    name->setFlags(Qt::ItemIsSelectable | Qt::ItemIsEditable | Qt::ItemIsEnabled);
    setItem(row, NameColumn, name);
    auto *information =
        new QTableWidgetItem(finishedInformation(record, fileSize(record.output_name)));
    information->setFlags(Qt::ItemIsSelectable | Qt::ItemIsEnabled);
    setItem(row, InformationColumn, information);
}

bool FinishedTableWidget::updateJob(HttpJob *job)
{
    JobRecord &record = job->record;
    if (rowOf(record.id) < 0)
        return false;
    if (record.changeFlags.test(TitleChanged)) {
        record.changeFlags.clear(TitleChanged);
        showTitle(record);
    }
    return true;
}

void FinishedTableWidget::showTitle(const JobRecord &record)
{
    const QScopedValueRollback<bool> filling(m_filling, true);
    const int row = rowOf(record.id);
    if (row >= 0)
        item(row, NameColumn)->setText(record.title);
}

bool FinishedTableWidget::hasSingleSelection() const
{
    return selectedRowCount() == 1;
}

int FinishedTableWidget::firstSelectedRow() const
{
    const QVector<int> ids = selectedIdsDownwards();
    return ids.isEmpty() ? -1 : rowOf(ids.first());
}

void FinishedTableWidget::playRow(int row)
{
    const HttpJob *job = findJobAt(row);
    if (!job)
        return;
    const QString file = job->record.output_name;
    if (!QFile::exists(file))
        tell(QString(), QStringLiteral("Cannot find the video"));
    else if (!openFile(file))
        tell(QString(),
             QStringLiteral("Cannot play the video.Please install a video player first."));
}

void FinishedTableWidget::onDoubleClickEvent(int row, int column)
{
    if (column == InformationColumn)
        playRow(row);
}

void FinishedTableWidget::onPlay()
{
    const int row = firstSelectedRow();
    if (row >= 0)
        playRow(row);
}

void FinishedTableWidget::onRename()
{
    const int row = firstSelectedRow();
    if (row < 0)
        return;
    setFocus();
    editItem(item(row, NameColumn));
}

// The editor is still on its way out when it announces the change, and a message box would end it a
// second time by taking the focus: the rename runs when the editor is gone.
void FinishedTableWidget::onCellChange(int row, int column)
{
    if (column != NameColumn || m_filling)
        return;
    const int id = idAt(row);
    QMetaObject::invokeMethod(
        this, [this, id] { commitRename(id); }, Qt::QueuedConnection);
}

void FinishedTableWidget::commitRename(int id)
{
    HttpJob *job = DownloaderManager::instance()->findJob(id);
    const int row = rowOf(id);
    if (!job || row < 0)
        return;
    const QString message = renameJob(&job->record, item(row, NameColumn)->text().trimmed());
    // A finished job whose file is not found under its stored name is dropped at the next start.
    if (message.isEmpty())
        DownloaderManager::instance()->noteChange();
    else
        tell(QStringLiteral("Tip"), message);
    showTitle(job->record);
}

QString FinishedTableWidget::renameJob(JobRecord *record, const QString &name)
{
    if (name.isEmpty())
        return QStringLiteral("Video name can not empty");
    if (!isValidFileName(name))
        return QStringLiteral("Video name \"%1\" is invalidate.").arg(name);
    const QString target = renamedPath(record->output_name, name);
    if (QFile::exists(target))
        return QStringLiteral("A video called \"%1\" already existed.").arg(name);
    if (!QFile::rename(record->output_name, target))
        return QStringLiteral("Video renamed to \"%1\" failed.").arg(name);
    record->output_name = target;
    record->title = name;
    return QString();
}

void FinishedTableWidget::onDelete()
{
    const QVector<int> ids = selectedIdsDownwards();
    if (DlgDeleteFinished(this).exec() == QDialog::Accepted)
        deleteJobs(ids, Options::instance()->deleteFinishedVideo);
    emit itemSelectionChanged();
}

void FinishedTableWidget::keyPressEvent(QKeyEvent *event)
{
    if (!isIgnored(event->key()))
        TRACE() << "Key Press:" << event->key();
    // Whichever column was clicked last: the name is what can be edited.
    if (event->key() == Qt::Key_F2 && hasSingleSelection()) {
        onRename();
        return;
    }
    JobTableWidget::keyPressEvent(event);
}

void FinishedTableWidget::fillMenu(QMenu *menu)
{
    menu->addAction(QStringLiteral("&Play"), this, &FinishedTableWidget::onPlay)
        ->setEnabled(hasSingleSelection());
    menu->addAction(QStringLiteral("&Rename"), this, &FinishedTableWidget::onRename)
        ->setEnabled(hasSingleSelection());
    menu->addAction(QStringLiteral("&Delete"), this, &FinishedTableWidget::onDelete)
        ->setEnabled(hasSelection());
}

QString FinishedTableWidget::selectAllText() const
{
    return QStringLiteral("Select &All");
}
