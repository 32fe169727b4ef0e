#pragma once

#include "jobtablewidget.h"

// The list of the jobs that have not finished.
class DownloadTableWidget final : public JobTableWidget
{
    Q_OBJECT
    Q_DISABLE_COPY(DownloadTableWidget)

public:
    explicit DownloadTableWidget(QWidget *parent = nullptr);

    // Call once, after the form has been built; both must outlive the list.
    void init(DownloaderManager &manager, Options &options, const QColor &themeColor);

    void insertJob(HttpJob *job, int row = -1) override;
    bool updateJob(HttpJob *job) override; // refreshes the cells whose change flags are set

    // Whether any job, of the selected rows or of all, can be started or paused.
    bool canStart(bool selectedOnly) const;
    bool canPause(bool selectedOnly) const;

public slots:
    void onDoubleClickEvent(const QModelIndex &index);
    void onStart();
    void onPause();
    void onDelete() override;

protected:
    void fillMenu(QMenu *menu) override;
    QString selectAllText() const override;

private:
    template <typename Test>
    bool anyJob(bool selectedOnly, Test test) const;
};
