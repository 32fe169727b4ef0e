#include "newdownload.h"

#include "appinfo.h"
#include "downloadermanager.h"
#include "joblists.h"
#include "logfile.h"
#include "siteaccess.h"
#include "trace.h"

NewDownload::NewDownload(const NewDownloadSurroundings &surroundings, DownloaderManager *manager,
                         JobView *downloadList, QWidget *window)
    : m_surroundings(surroundings)
    , m_manager(manager)
    , m_downloadList(downloadList)
    , m_window(window)
{
}

void NewDownload::run(const QString &url)
{
    if (m_open)
        return;
    m_open = true;
    DlgNewDownload dialog(url, m_surroundings, m_window);
    dialog.activateWindow();
    const bool accepted = dialog.exec() == QDialog::Accepted;
    m_open = false;
    if (accepted)
        addJob(dialog.videoInfo());
}

void NewDownload::addJob(VideoInfo info)
{
    info.pageUrl = siteAccess(info.pageUrl, m_surroundings.info.secureHosts).address;
    const VideoStream stream = info.streams.value(info.selectedStream);
    const auto log = [](const QString &tag, const QString &text) {
        TRACE() << tag << text;
        LogFile::instance()->write(tag, text);
    };
    log(QStringLiteral("Page URL:"), info.pageUrl);
    log(QStringLiteral("Page Title:"), info.title);
    log(QStringLiteral("Page Keyword:"), info.keyword);
    log(QStringLiteral("Select Video:"), stream.dimension + QStringLiteral("  ") + stream.type);
    log(QStringLiteral("Select URL:"), stream.videoAddress);

    m_downloadList->insertJob(m_manager->addJob(info));
}
