#pragma once

#include "clipboardwatch.h"
#include "exitcontrol.h"
#include "windowlayout.h"
#include "windowstate.h"

#include <QMainWindow>
#include <QString>
#include <QSystemTrayIcon>

#include <functional>
#include <memory>

class JobLists;
class JobNotifications;
class NewDownload;
class QTimer;
class Stores;
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
    void onSaveRequest(); // the session wants everything on disk, and goes on
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
    void makeHelpers();
    void connectForm();
    void connectJobs();
    void startTimers();
    void buildTray();
    void tellOfBackground();
    ClipboardWatch::Moment clipboardMoment() const;

    std::unique_ptr<Ui::MainWindow> m_ui;
    std::unique_ptr<Stores> m_stores; // what follows refers to it
    std::unique_ptr<JobLists> m_lists;
    ExitControl m_exit;
    WindowLayout m_layout;
    WindowState m_state;
    QTimer *m_refreshTimer = nullptr;
    QTimer *m_saveTimer = nullptr;
    std::unique_ptr<ClipboardWatch> m_clipboardWatch;
    bool m_settingsOpen = false;
    std::unique_ptr<NewDownload> m_newDownload;
    std::unique_ptr<TrayIcon> m_trayIcon;
    std::unique_ptr<JobNotifications> m_notifications;
    int m_exitCode = 0;
};
