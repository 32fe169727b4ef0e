#pragma once

#include "clipboardwatch.h"
#include "newdownload.h"

#include <QObject>

class ExitControl;
class JobNotifications;
class QDropEvent;

// The ways by which an address comes to the program: the person opens the dialog for a new
// download, copies an address anywhere, pastes it into the window or drops it there.
class AddressIntake final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(AddressIntake)

public:
    // All must outlive it.
    struct Surroundings
    {
        NewDownloadSurroundings dialog;
        DownloaderManager &manager;
        JobView &downloadList;
        ExitControl &exit;
        const JobNotifications &notifications;
    };
    AddressIntake(const Surroundings &surroundings, QWidget *window);

    void open(const QString &url); // modal; nothing while the dialog is open already
    void clipboardChanged() { m_clipboardWatch.changed(); }
    void windowActivated() { m_clipboardWatch.activated(); }
    void offerKept() { m_clipboardWatch.offerKept(); }

    bool eventFilter(QObject *window, QEvent *event) override;

private:
    ClipboardWatch::Moment moment() const;
    bool judgeDrag(QDropEvent *event) const;
    void openLater(const QString &address);

    ExitControl &m_exit;
    const JobNotifications &m_notifications;
    QWidget *m_window;
    NewDownload m_newDownload;
    ClipboardWatch m_clipboardWatch;
};
