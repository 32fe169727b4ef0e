#include "jobnotifications.h"

#include "closesystem.h"
#include "dlgshutdown.h"
#include "downloadermanager.h"
#include "messagebox.h"
#include "options.h"

JobNotifications::JobNotifications(const DownloaderManager &manager, const Options &options,
                                   QWidget *window)
    : m_manager(manager)
    , m_options(options)
    , m_window(window)
{
}

void JobNotifications::jobEnded(int id)
{
    const HttpJob *job = m_manager.findJob(id);
    if (!job || !m_options.notifyWhenFinished)
        return;
    const QString title = job->record.title;
    const auto icon = QSystemTrayIcon::Information;
    if (job->record.video_state == JobState::Finished)
        emit balloon(tr("Download Finished"), tr("The video \"%1\" is  completed.").arg(title),
                     icon);
    else
        emit balloon(tr("Download Failed"), tr("Failed to download \"%1\".").arg(title), icon);
}

void JobNotifications::savingFails(const QString &path)
{
    emit balloon(tr("Cannot Save"),
                 tr("The download list cannot be saved to \"%1\". It is tried again.").arg(path),
                 QSystemTrayIcon::Warning);
}

void JobNotifications::balloonUnseen(const QString &title, const QString &text,
                                     QSystemTrayIcon::MessageIcon icon)
{
    if (icon != QSystemTrayIcon::Warning)
        return;
    // Not from inside a save, which has its callers.
    QMetaObject::invokeMethod(
        this,
        [this, title, text] {
            if (!m_countingDown)
                showMessageBox(QMessageBox::Warning, title, text, QMessageBox::Ok, QMessageBox::Ok);
        },
        Qt::QueuedConnection);
}

void JobNotifications::allEnded()
{
    // Heard a moment after the last end: there may be work again.
    if (m_countingDown || !m_options.shutDownWhenAllFinished || !m_manager.allFinished())
        return;
    if (!countDown()) {
        emit cancelled();
        return;
    }
    emit shuttingDown();
    CloseSystem(3, m_window);
}

bool JobNotifications::countDown()
{
    m_countingDown = true;
    emit countingDown(true);
    DlgShutDown dialog(m_window);
    connect(&m_manager, &DownloaderManager::sigJobsChanged, &dialog, [this, &dialog] {
        if (!m_manager.allFinished())
            dialog.reject();
    });
    const bool accepted = dialog.exec() == QDialog::Accepted;
    m_countingDown = false;
    emit countingDown(false);
    // Another dialog's loop may have kept this one open until there was work again.
    return accepted && m_manager.allFinished();
}
