#pragma once

#include "exitcontrol.h"
#include "listswindow.h"
#include "windowstate.h"

#include <QString>
#include <QSystemTrayIcon>
#include <QTimer>

#include <functional>
#include <memory>

class AddressIntake;
class JobNotifications;
class Stores;
class TrayIcon;
class Wakefulness;

// The program's window and its controller. Building it is the program's start-up: it loads the
// settings, updates the site scripts, opens the job list and starts what was running; destroying it
// saves all and releases the process-wide objects.
class MainWindow final : public ListsWindow
{
    Q_OBJECT
    Q_DISABLE_COPY(MainWindow)

public:
    // Runs the update dialog, and message boxes when something cannot be loaded.
    // sessionEnds is asked after each of them: a session that ends meanwhile ends the start.
    // Nothing is started or shown then, and the window is of no use.
    explicit MainWindow(
        bool show, QWidget *parent = nullptr,
        const std::function<bool()> &sessionEnds = [] { return false; });
    ~MainWindow() override;

    // 0, or 2 when the start-up failed: the window is then of no use and the program must end with
    // that code.
    int exitCode() const { return m_exitCode; }

    void showTrayMessage(const QString &title, const QString &text,
                         QSystemTrayIcon::MessageIcon icon);
    void openNewDownload(const QString &url);

public slots:
    void updateDownloadList();
    void saveDownloadList();
    void onClose();
    void onNewDownload();
    void onOpenFolder();
    void onSettings();
    void onHelp();
    void onAbout();
    void onInstanceCheck(QString strTimes, const QByteArray &token = QByteArray());
    void onSaveRequest(); // everything is to be on the disk at the return; the program goes on
    void onEndSession();

private slots:
    void iconActivated(QSystemTrayIcon::ActivationReason reason);
    void onStartAll();
    void onPauseAll();
    void onExit();
    void onShowContextMenu();
    void onFinished(int nID);
    void onAllFinished();
    void onClipboardChange();
    bool onQueryExit();

protected:
    bool event(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    void makeHelpers();
    void connectCommands();
    void connectJobs();
    void startTimers();
    void buildTray();

    std::unique_ptr<Stores> m_stores; // what follows refers to it
    ExitControl m_exit;
    WindowState m_state;
    QTimer m_refreshTimer; // stopped once a real close has begun
    QTimer m_saveTimer;
    bool m_settingsOpen = false;
    std::unique_ptr<TrayIcon> m_trayIcon;
    std::unique_ptr<JobNotifications> m_notifications;
    std::unique_ptr<AddressIntake> m_addresses;
    std::unique_ptr<Wakefulness> m_wakefulness;
    int m_exitCode = 0;
};
