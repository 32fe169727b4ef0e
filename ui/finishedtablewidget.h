#pragma once

#include "jobtablewidget.h"

// The list of the finished videos: plays, renames and deletes them.
class FinishedTableWidget final : public JobTableWidget
{
    Q_OBJECT
    Q_DISABLE_COPY(FinishedTableWidget)

public:
    explicit FinishedTableWidget(QWidget *parent = nullptr);

    // Call once, after the form has been built; both must outlive the list.
    void init(DownloaderManager &manager, Options &options, const QColor &themeColor);

    void insertJob(HttpJob *job, int row = -1) override;
    bool updateJob(HttpJob *job) override; // the title, when it has changed

    bool hasSingleSelection() const; // exactly one row

public slots:
    void onDoubleClickEvent(int row, int column);
    void onCellChange(int row, int column);
    void onPlay();
    void onShowInFolder(); // the video that onPlay() would play
    void onRename();
    void onDelete() override;

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void fillMenu(QMenu *menu) override;
    QString selectAllText() const override;

private:
    int firstSelectedRow() const; // the topmost; -1: none
    void playRow(int row);
    void commitRename(int id);
    QString renameJob(JobRecord *record, const QString &name); // what to tell the person, if any
    void showTitle(const JobRecord &record);

    bool m_filling = false; // the list itself writes into the name cells
};
