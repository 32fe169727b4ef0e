#include "finishedtablewidget.h"

#include "columns.h"
#include "dlgdeletefinished.h"
#include "files.h"
#include "finisheditem.h"
#include "jobtexts.h"
#include "messagebox.h"
#include "options.h"
#include "platform.h"
#include "trace.h"

#include <QDir>
#include <QFile>
#include <QKeyEvent>
#include <QMenu>
#include <QScopedValueRollback>

static void tell(const QString &title, const QString &text)
{
    showMessageBox(QMessageBox::Information, title, text, QMessageBox::Ok, QMessageBox::Ok);
}

namespace {

// Its tip is where the video is.
class NameCell final : public QTableWidgetItem
{
public:
    explicit NameCell(const JobRecord &record) // must live as long as the row is shown
        : QTableWidgetItem(record.title)
        , m_record(record)
    {
    }
    QVariant data(int role) const override
    {
        if (role == Qt::ToolTipRole || role == Qt::AccessibleDescriptionRole)
            return QDir::toNativeSeparators(m_record.output_name);
        return QTableWidgetItem::data(role);
    }

private:
    const JobRecord &m_record;
};

// Looks at the job's file when it is looked at itself: most rows of a long list never are.
class InformationCell final : public QTableWidgetItem
{
public:
    explicit InformationCell(const JobRecord &record) // must live as long as the row is shown
        : m_record(record)
    {
    }
    QVariant data(int role) const override
    {
        if (role != Qt::DisplayRole)
            return QTableWidgetItem::data(role);
        if (m_text.isEmpty())
            m_text = finishedInformation(m_record, fileSize(m_record.output_name));
        return m_text;
    }

private:
    const JobRecord &m_record;
    mutable QString m_text;
};

} // namespace

FinishedTableWidget::FinishedTableWidget(QWidget *parent)
    : JobTableWidget({QStringLiteral("Finished TableWidget"), QStringLiteral("387,386"),
                      FinishedColumns::Count, FinishedColumns::Name},
                     parent)
{
}

void FinishedTableWidget::init(DownloaderManager &manager, Options &options,
                               const QColor &themeColor)
{
    initTable(manager, options);
    setItemDelegate(new FinishedItem(themeColor, this));
    // A stray letter must not rename a video.
    setEditTriggers(DoubleClicked | EditKeyPressed);
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
    auto *name = new NameCell(record);
    name->setData(Qt::UserRole, record.id);
    name->setFlags(Qt::ItemIsSelectable | Qt::ItemIsEditable | Qt::ItemIsEnabled);
    setItem(row, FinishedColumns::Name, name);
    auto *information = new InformationCell(record);
    information->setFlags(Qt::ItemIsSelectable | Qt::ItemIsEnabled);
    setItem(row, FinishedColumns::Information, information);
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
        item(row, FinishedColumns::Name)->setText(record.title);
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
        tell(QString(), tr("Cannot find the video"));
    else if (!openFile(file))
        tell(QString(), tr("Cannot play the video.Please install a video player first."));
}

void FinishedTableWidget::onDoubleClickEvent(int row, int column)
{
    if (column == FinishedColumns::Information)
        playRow(row);
}

void FinishedTableWidget::onPlay()
{
    const int row = firstSelectedRow();
    if (row >= 0)
        playRow(row);
}

void FinishedTableWidget::onShowInFolder()
{
    const HttpJob *job = findJobAt(firstSelectedRow());
    if (!job)
        return;
    if (QFile::exists(job->record.output_name))
        platform::showInFolder(job->record.output_name);
    else
        tell(QString(), tr("Cannot find the video"));
}

void FinishedTableWidget::onRename()
{
    const int row = firstSelectedRow();
    if (row < 0)
        return;
    setFocus();
    editItem(item(row, FinishedColumns::Name));
}

// The editor is still on its way out when it announces the change, and a message box would end it a
// second time by taking the focus: the rename runs when the editor is gone.
void FinishedTableWidget::onCellChange(int row, int column)
{
    if (column != FinishedColumns::Name || m_filling)
        return;
    const int id = idAt(row);
    QMetaObject::invokeMethod(
        this, [this, id] { commitRename(id); }, Qt::QueuedConnection);
}

void FinishedTableWidget::commitRename(int id)
{
    HttpJob *job = manager().findJob(id);
    const int row = rowOf(id);
    if (!job || row < 0)
        return;
    const QString message =
        renameJob(&job->record, item(row, FinishedColumns::Name)->text().trimmed());
    // A finished job whose file is not found under its stored name is dropped at the next start.
    if (message.isEmpty())
        manager().noteChange();
    else
        tell(tr("Tip"), message);
    showTitle(job->record);
}

QString FinishedTableWidget::renameJob(JobRecord *record, const QString &name)
{
    if (name.isEmpty())
        return tr("Video name can not empty");
    if (!isValidFileName(name))
        return tr("Video name \"%1\" is invalidate.").arg(name);
    const QString target = renamedPath(record->output_name, name);
    if (QFile::exists(target))
        return tr("A video called \"%1\" already existed.").arg(name);
    if (!QFile::rename(record->output_name, target))
        return tr("Video renamed to \"%1\" failed.").arg(name);
    record->output_name = target;
    record->title = name;
    return QString();
}

void FinishedTableWidget::onDelete()
{
    const QVector<int> ids = selectedIdsDownwards();
    if (ids.isEmpty())
        return;
    if (DlgDeleteFinished(options(), this).exec() == QDialog::Accepted)
        deleteJobs(ids, options().deleteFinishedVideo);
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
    // The key that ends a rename comes by here as well.
    if (event->key() == Qt::Key_Return && state() != EditingState && hasSingleSelection()) {
        if (event->modifiers() == Qt::NoModifier)
            return onPlay();
        if (event->modifiers() == Qt::ControlModifier)
            return onShowInFolder();
    }
    JobTableWidget::keyPressEvent(event);
}

void FinishedTableWidget::fillMenu(QMenu *menu)
{
    menu->addAction(tr("&Play"), this, &FinishedTableWidget::onPlay)
        ->setEnabled(hasSingleSelection());
    menu->addAction(tr("&Rename"), this, &FinishedTableWidget::onRename)
        ->setEnabled(hasSingleSelection());
    menu->addAction(tr("&Delete"), this, &FinishedTableWidget::onDelete)
        ->setEnabled(hasSelection());
}

QString FinishedTableWidget::selectAllText() const
{
    return tr("Select &All");
}
