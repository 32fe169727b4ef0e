#pragma once

#include "exitcontrol.h"

#include <QMainWindow>
#include <QMargins>
#include <QString>
#include <QSystemTrayIcon>

#include <memory>

class ClipboardWatch;
class DownloaderManager;
class JobNotifications;
class NewDownload;
class QTimer;
class TrayIcon;

namespace Ui {
class MainWindow;
}

// The program's window and its controller. Building it is the program's start-up: it loads the
// settings, updates the site scripts, opens the job list and starts what was running; destroying it
// saves all and releases the process-wide objects.
class MainWindow final : public QMainWindow
{
    Q_OBJECT
    Q_DISABLE_COPY(MainWindow)

public:
    // Runs the update dialog, and message boxes when something cannot be loaded.
    explicit MainWindow(bool show, QWidget *parent = nullptr);
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
    void onStart();
    void onPause();
    void onDownloadDelete();
    void onNewDownload();
    void onDownloadListSelectionChanged();
    void onPlay();
    void onFinishedDelete();
    void onRename();
    void onOpenFolder();
    void onFinisedListSelectionChanged();
    void onSettings();
    void onHelp();
    void onAbout();
    void onInstanceCheck(QString strTimes);
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
    void resizeEvent(QResizeEvent *event) override;

private:
    void buildForm();
    void connectAll();
    void startTimers();
    void buildTray();
    void giveCaptionsRoom(bool needed);
    void showAgain();
    void offerAddress(const QString &text);

    std::unique_ptr<Ui::MainWindow> m_ui;
    DownloaderManager *m_manager = nullptr; // the process's; null until the start-up reached it
    QTimer *m_refreshTimer = nullptr;
    QTimer *m_saveTimer = nullptr;
    std::unique_ptr<ClipboardWatch> m_clipboardWatch;
    ExitControl m_exit;
    bool m_settingsOpen = false;
    std::unique_ptr<NewDownload> m_newDownload;
    TrayIcon *m_trayIcon = nullptr;
    std::unique_ptr<JobNotifications> m_notifications;
    QMargins m_margins{7, 43, 13, 52};
    int m_exitCode = 0;
};
