#pragma once

#include "dlgnewdownload.h"

#include <QString>

class DownloaderManager;
class JobView;
class QWidget;

// Runs the dialog for a new download and makes a job of what comes of it.
class NewDownload final
{
public:
    NewDownload(const NewDownloadSurroundings &surroundings, DownloaderManager *manager,
                JobView *downloadList, QWidget *window);

    bool isOpen() const { return m_open; }
    void run(const QString &url); // modal; does nothing while the dialog is already open

private:
    void addJob(VideoInfo info);

    const NewDownloadSurroundings m_surroundings;
    DownloaderManager *m_manager;
    JobView *m_downloadList;
    QWidget *m_window;
    bool m_open = false;
};
