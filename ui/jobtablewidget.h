#pragma once

#include "downloadermanager.h"
#include "joblists.h"

#include <QTableWidget>
#include <QVector>

class JobRows;
class Options;
class QMenu;

// Widths after the table has grown by delta pixels (shrunk when negative): the change is shared in
// proportion to the widths, evenly when they are all 0, rounding goes to the last one, and none
// gets below 27.
QVector<int> proportionalWidths(const QVector<int> &widths, int delta);

// What the two lists have in common. A row holds its job's id only; the manager pushes changes in.
// Dialogs and menus run while jobs finish and rows move: the commands keep ids across them, never
// row numbers.
class JobTableWidget : public QTableWidget, public JobView
{
    Q_OBJECT
    Q_DISABLE_COPY(JobTableWidget)

public:
    bool removeJob(HttpJob *job) override;

    // Moves and resizes a list inside its window. One that is not shown has its columns follow at
    // once: they may be stored before it is shown.
    void place(const QRect &place);
    bool loadColumns();
    bool saveColumns() const;

    bool hasSelection() const;
    bool canSelectAll() const; // not every row is selected

public slots:
    void onCustomContextMenu(const QPoint &pos);
    virtual void onDelete() = 0;
    void onSelectAll();

protected:
    struct Columns
    {
        QString name;          // of their widths in the settings
        QString defaultWidths; // "49,287"
        int count;
        int firstElastic; // this one and those after it share a change of the table's width
    };
    JobTableWidget(const Columns &columns, QWidget *parent);

    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void currentChanged(const QModelIndex &current, const QModelIndex &previous) override;
    bool event(QEvent *event) override;

    static bool isIgnored(int key); // left to the window around the list
    void initTable(DownloaderManager &manager, Options &options); // both must outlive the list
    DownloaderManager &manager() const { return *m_manager; }
    Options &options() const { return *m_options; }
    virtual void fillMenu(QMenu *menu) = 0; // the commands in front of "select all"
    virtual QString selectAllText() const = 0;

    int idAt(int row) const;           // 0: no such row
    int rowOf(int id) const;           // -1: no such job
    HttpJob *findJobAt(int row) const; // null: none
    int selectedRowCount() const;
    QVector<int> selectedIds() const;          // in selection order
    QVector<int> selectedIdsDownwards() const; // in row order
    // The jobs and their rows, from the last to the first; ids whose row has left this list
    // meanwhile are passed over.
    void deleteJobs(const QVector<int> &idsDownwards, bool deleteFiles);

private:
    void showMenu(const QPoint &globalPosition); // waits for the choice
    QRect rowRect(int row) const;                // of all its cells, in the viewport
    QVector<int> selectedRowNumbers() const;     // in selection order
    QVector<int> elasticWidths() const;
    void setElasticWidths(const QVector<int> &widths);

    const Columns m_columns;
    DownloaderManager *m_manager = nullptr;
    Options *m_options = nullptr;
    JobRows *m_rows;
    int m_lastWidth = -1; // of the viewport, that the columns have followed; -1: never shown
    bool m_wasShown = false;
    bool m_skipResize = false;
};
