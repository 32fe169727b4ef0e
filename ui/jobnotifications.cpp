#include "jobnotifications.h"

#include "closesystem.h"
#include "dlgshutdown.h"
#include "downloadermanager.h"
#include "options.h"

#include <QCoreApplication>

#include <utility>

JobNotifications::JobNotifications(const DownloaderManager *manager, QWidget *window,
                                   ShowBalloon showBalloon)
    : m_manager(manager)
    , m_window(window)
    , m_showBalloon(std::move(showBalloon))
{
}

void JobNotifications::jobEnded(int id)
{
    const HttpJob *job = m_manager->findJob(id);
    if (!job || !Options::instance()->notifyWhenFinished)
        return;
    if (job->record.video_state == JobState::Finished) {
        m_showBalloon(QCoreApplication::translate("MainWindow", "Download Finished"),
                      QCoreApplication::translate("MainWindow", "The video \"%1\" is  completed.")
                          .arg(job->record.title));
    } else {
        m_showBalloon(QCoreApplication::translate("MainWindow", "Download Failed"),
                      QCoreApplication::translate("MainWindow", "Failed to download \"%1\".")
                          .arg(job->record.title));
    }
}

void JobNotifications::allEnded()
{
    // Heard a moment after the last end: there may be work again.
    if (m_countdownOpen || !Options::instance()->shutDownWhenAllFinished ||
        !m_manager->allFinished())
        return;
    m_countdownOpen = true;
    DlgShutDown dialog(m_window);
    const auto endWhenBusy = [this, &dialog] {
        if (!m_manager->allFinished())
            dialog.reject();
    };
    QObject::connect(m_manager, &DownloaderManager::sigJobsChanged, &dialog, endWhenBusy);
    const bool accepted = dialog.exec() == QDialog::Accepted;
    m_countdownOpen = false;
    // Another dialog's loop may have kept this one open until there was work again.
    if (accepted && m_manager->allFinished())
        CloseSystem(3, m_window);
}
