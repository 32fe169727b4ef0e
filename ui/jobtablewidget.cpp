#include "jobtablewidget.h"

#include "jobrows.h"
#include "options.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QResizeEvent>

#include <algorithm>
#include <functional>
#include <numeric>

namespace {

constexpr int SmallestWidth = 27;
constexpr int LargestWidth = 4000;

} // namespace

QVector<int> proportionalWidths(const QVector<int> &widths, int delta)
{
    const qint64 sum = std::accumulate(widths.begin(), widths.end(), qint64(0));
    QVector<int> result;
    qint64 left = delta;
    for (int i = 0; i < widths.size(); ++i) {
        qint64 share = left;
        if (i + 1 < widths.size())
            share = sum > 0 ? qint64(delta) * widths[i] / sum : delta / widths.size();
        left -= share;
        result += int(std::max<qint64>(widths[i] + share, SmallestWidth));
    }
    return result;
}

JobTableWidget::JobTableWidget(const Columns &columns, QWidget *parent)
    : QTableWidget(parent)
    , m_columns(columns)
    , m_rows(new JobRows(model()))
{
    setSelectionBehavior(SelectRows);
    // Tab leaves the list: the buttons can be reached with the keyboard.
    setTabKeyNavigation(false);
    // Selected rows are filled with a dark colour, also while the window is inactive.
    QPalette colors = palette();
    colors.setColor(QPalette::HighlightedText, Qt::white);
    setPalette(colors);
}

void JobTableWidget::initTable(DownloaderManager &manager, Options &options)
{
    m_manager = &manager;
    m_options = &options;
    setColumnCount(m_columns.count);
    setContextMenuPolicy(Qt::CustomContextMenu);
    horizontalHeader()->setVisible(true);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setTextElideMode(Qt::ElideRight);
    verticalHeader()->setVisible(false);
    setSortingEnabled(false);
    connect(this, &QWidget::customContextMenuRequested, this, &JobTableWidget::onCustomContextMenu);
}

bool JobTableWidget::loadColumns()
{
    m_skipResize = true;
    const bool restored = m_options->restoreColumns(m_columns.name, this, m_columns.defaultWidths);
    // A column that cannot be seen cannot be widened either.
    for (int column = 0; column < columnCount(); ++column)
        setColumnWidth(column, qBound(SmallestWidth, columnWidth(column), LargestWidth));
    m_skipResize = false;
    return restored;
}

void JobTableWidget::showEvent(QShowEvent *event)
{
    QTableWidget::showEvent(event);
    if (m_wasShown)
        return;
    // The scroll bar that appears with the first rows makes no list narrower that was stored with
    // it: otherwise the columns would shrink a little at every start.
    QMetaObject::invokeMethod(
        this,
        [this] {
            executeDelayedItemsLayout();
            updateGeometries();
            m_lastWidth = viewport()->width();
            m_wasShown = true;
        },
        Qt::QueuedConnection);
}

void JobTableWidget::focusInEvent(QFocusEvent *event)
{
    QTableWidget::focusInEvent(event);
    const bool byKey =
        event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
    // With the keyboard alone one has to see where one is.
    if (byKey && rowCount() > 0 && !hasSelection())
        selectRow(qMax(0, currentRow()));
}

bool JobTableWidget::saveColumns() const
{
    return m_options->saveColumns(m_columns.name, this);
}

void JobTableWidget::resizeEvent(QResizeEvent *event)
{
    if (m_skipResize) {
        m_skipResize = false;
        return;
    }
    const int newWidth = event->size().width();
    const int oldWidth = event->oldSize().width() < 0 ? m_lastWidth : event->oldSize().width();
    if (oldWidth > 0 && m_wasShown) {
        setElasticWidths(proportionalWidths(elasticWidths(), newWidth - oldWidth));
        m_lastWidth = newWidth;
    }
    QTableWidget::resizeEvent(event);
}

void JobTableWidget::place(const QRect &place)
{
    if (!isVisible()) {
        const int delta = place.width() - width();
        setElasticWidths(proportionalWidths(elasticWidths(), delta));
        if (m_lastWidth > 0)
            m_lastWidth += delta;
    }
    setGeometry(place);
}

QVector<int> JobTableWidget::elasticWidths() const
{
    QVector<int> widths;
    for (int column = m_columns.firstElastic; column < columnCount(); ++column)
        widths += columnWidth(column);
    return widths;
}

void JobTableWidget::setElasticWidths(const QVector<int> &widths)
{
    for (int i = 0; i < widths.size(); ++i)
        setColumnWidth(m_columns.firstElastic + i, widths[i]);
}

bool JobTableWidget::isIgnored(int key)
{
    return key == Qt::Key_Enter || key == Qt::Key_Left || key == Qt::Key_Right ||
           key == Qt::Key_Tab || key == Qt::Key_Space;
}

void JobTableWidget::keyPressEvent(QKeyEvent *event)
{
    if (isIgnored(event->key())) {
        event->ignore();
        return;
    }
    if (event->key() == Qt::Key_Delete && hasSelection())
        onDelete();
    QTableWidget::keyPressEvent(event);
}

QRect JobTableWidget::rowRect(int row) const
{
    const QModelIndex first = model()->index(row, 0);
    return visualRect(first) | visualRect(first.siblingAtColumn(columnCount() - 1));
}

// Without it nobody sees which row a key is for while several are selected, or none.
void JobTableWidget::paintEvent(QPaintEvent *event)
{
    QTableWidget::paintEvent(event);
    const QModelIndex current = currentIndex();
    if (!hasFocus() || !current.isValid())
        return;
    QPainter painter(viewport());
    painter.setPen(selectionModel()->isSelected(current) ? QColor(201, 203, 221)
                                                         : QColor(52, 54, 78));
    painter.drawRect(rowRect(current.row()).adjusted(0, 0, -1, -1));
}

void JobTableWidget::currentChanged(const QModelIndex &current, const QModelIndex &previous)
{
    QTableWidget::currentChanged(current, previous);
    viewport()->update(rowRect(current.row()));
    viewport()->update(rowRect(previous.row()));
}

bool JobTableWidget::event(QEvent *event)
{
    if (event->type() != QEvent::ContextMenu)
        return QTableWidget::event(event);
    // By the keyboard, as the mouse's go to the viewport: the pointer may be anywhere.
    const QRect seen = viewport()->rect();
    if (currentIndex().isValid())
        scrollTo(currentIndex());
    const QRect cell = visualRect(currentIndex()) & seen;
    showMenu(viewport()->mapToGlobal(cell.isEmpty() ? seen.topLeft() : cell.center()));
    return true;
}

void JobTableWidget::onCustomContextMenu(const QPoint &)
{
    showMenu(QCursor::pos());
}

void JobTableWidget::showMenu(const QPoint &globalPosition)
{
    QMenu menu(this);
    fillMenu(&menu);
    menu.addSeparator();
    menu.addAction(selectAllText(), this, &JobTableWidget::onSelectAll)->setEnabled(canSelectAll());
    menu.exec(globalPosition);
}

void JobTableWidget::onSelectAll()
{
    selectAll();
}

bool JobTableWidget::removeJob(HttpJob *job)
{
    const int row = rowOf(job->record.id);
    if (row < 0)
        return false;
    removeRow(row);
    return true;
}

void JobTableWidget::deleteJobs(const QVector<int> &idsDownwards, bool deleteFiles)
{
    QVector<int> rows;
    for (auto id = idsDownwards.crbegin(); id != idsDownwards.crend(); ++id) {
        const int row = rowOf(*id);
        if (row < 0)
            continue;
        m_manager->removeJob(*id, deleteFiles);
        rows += row;
    }
    std::sort(rows.begin(), rows.end(), std::greater<int>());
    // The rows to go are the selection: without it no removal has to announce a change of it, and
    // neighbours leave together.
    clearSelection();
    for (int i = 0; i < rows.size();) {
        const int last = rows[i];
        int count = 0;
        for (; i < rows.size() && rows[i] == last - count; ++i)
            ++count;
        model()->removeRows(last - count + 1, count);
    }
}

int JobTableWidget::idAt(int row) const
{
    return m_rows->idAt(row);
}

int JobTableWidget::rowOf(int id) const
{
    return m_rows->rowOf(id);
}

HttpJob *JobTableWidget::findJobAt(int row) const
{
    return m_manager->findJob(idAt(row));
}

bool JobTableWidget::hasSelection() const
{
    return selectionModel()->hasSelection();
}

bool JobTableWidget::canSelectAll() const
{
    return selectedRowCount() != rowCount();
}

// Ranges do not overlap and are as wide as the table: counting them is cheaper by far than asking
// for every row, which the buttons would do at every change of the selection.
int JobTableWidget::selectedRowCount() const
{
    int count = 0;
    for (const QItemSelectionRange &range : selectionModel()->selection())
        count += range.left() == 0 ? range.height() : 0;
    return count;
}

QVector<int> JobTableWidget::selectedRowNumbers() const
{
    QVector<int> rows;
    for (const QItemSelectionRange &range : selectionModel()->selection()) {
        for (int row = range.top(); range.left() == 0 && row <= range.bottom(); ++row)
            rows += row;
    }
    return rows;
}

QVector<int> JobTableWidget::selectedIds() const
{
    QVector<int> ids = selectedRowNumbers();
    for (int &id : ids)
        id = idAt(id);
    return ids;
}

QVector<int> JobTableWidget::selectedIdsDownwards() const
{
    QVector<int> ids = selectedRowNumbers();
    std::sort(ids.begin(), ids.end());
    for (int &id : ids)
        id = idAt(id);
    return ids;
}
