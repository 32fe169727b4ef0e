#include "mainwindow.h"

#include "addressintake.h"
#include "appinfo.h"
#include "cjslib.h"
#include "dlgabout.h"
#include "dlgsettings.h"
#include "downloadermanager.h"
#include "jobnotifications.h"
#include "messagebox.h"
#include "options.h"
#include "platform.h"
#include "startup.h"
#include "trayicon.h"
#include "ui_mainwindow.h"
#include "wakefulness.h"
#include "webdatabase.h"

#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QContextMenuEvent>
#include <QFile>
#include <QShortcut>
#include <QUrl>

static const int refreshInterval = 1000; // milliseconds
static const int saveInterval = 30000;   // milliseconds

MainWindow::MainWindow(bool show, QWidget *parent, const std::function<bool()> &sessionEnds)
    : ListsWindow(parent)
    , m_stores(std::make_unique<Stores>())
    , m_exit(*this, m_stores->options)
    , m_state(m_stores->options, *this, form())
{
    updateScripts(m_stores->options, m_stores->info);
    if (sessionEnds())
        return;
    buildForm(m_stores->manager, m_stores->options, m_stores->info.themeColor);
    m_stores->scripts.loadScripts(m_stores->options.jsPath);
    setMainWindow(this);
    m_stores->options.ensureOutputFolder();
    if (!m_stores->load()) {
        m_exitCode = 2;
        return;
    }
    if (sessionEnds())
        return;
    makeHelpers();
    connectCommands();
    connectJobs();
    fillLists();
    startTimers();
    m_stores->manager.resumeRunning();
    onFinisedListSelectionChanged();
    updateDownloadList();
    m_state.restorePlace();
    place(size());
    m_state.restoreColumns();
    focusFirstButton();
    buildTray();
    if (show)
        this->show();
    else
        close();
    m_state.watch();
}

MainWindow::~MainWindow()
{
    // Nothing that still happens while the jobs are stopped may reach the window.
    m_stores->manager.disconnect(this);
    QGuiApplication::clipboard()->disconnect(this);
    m_refreshTimer.stop();
    m_saveTimer.stop();
    setMainWindow(nullptr);

    m_wakefulness.reset();
    m_addresses.reset();
    m_notifications.reset();
    m_stores.reset();
}

void MainWindow::makeHelpers()
{
    m_notifications =
        std::make_unique<JobNotifications>(m_stores->manager, m_stores->options, this);
    m_addresses = std::make_unique<AddressIntake>(
        AddressIntake::Surroundings{
            {m_stores->options, m_stores->profiles, m_stores->scripts, m_stores->info},
            m_stores->manager,
            *form().listViewDownloading,
            m_exit,
            *m_notifications},
        this);
}

void MainWindow::connectCommands()
{
    const auto onClick = [this](QPushButton *button, void (MainWindow::*slot)()) {
        connect(button, &QPushButton::clicked, this, slot);
    };
    onClick(form().btnNewDownload, &MainWindow::onNewDownload);
    onClick(form().btnOpenFolder, &MainWindow::onOpenFolder);
    onClick(form().btnSettings, &MainWindow::onSettings);
    onClick(form().btnHelp, &MainWindow::onHelp);
    onClick(form().btnAbout, &MainWindow::onAbout);
    // On both tabs; and the only other way out is the tray's menu, which not every desktop shows.
    const auto onKey = [this](QKeySequence::StandardKey key, void (MainWindow::*slot)()) {
        connect(new QShortcut(QKeySequence(key), this), &QShortcut::activated, this, slot);
    };
    onKey(QKeySequence::New, &MainWindow::onNewDownload);
    onKey(QKeySequence::Open, &MainWindow::onOpenFolder);
    onKey(QKeySequence::Quit, &MainWindow::onExit);
    connect(QGuiApplication::clipboard(), &QClipboard::dataChanged, this,
            &MainWindow::onClipboardChange);
}

void MainWindow::connectJobs()
{
    // Queued: a job can end while it is being started, during the construction or in the middle of
    // a walk over all jobs, and what follows may open a dialog.
    const DownloaderManager *manager = &m_stores->manager;
    connect(manager, &DownloaderManager::sigFinished, this, &MainWindow::onFinished,
            Qt::QueuedConnection);
    connect(manager, &DownloaderManager::sigAllFinished, this, &MainWindow::onAllFinished,
            Qt::QueuedConnection);
    m_wakefulness = std::make_unique<Wakefulness>(*manager);
    // A crash must not lose what was just asked for, nor what was just done.
    connect(manager, &DownloaderManager::sigJobsChanged, &m_stores->saver, &JobSaver::saveSoon);
    const JobNotifications *notifications = m_notifications.get();
    connect(&m_stores->saver, &JobSaver::sigSavingFails, notifications,
            [this] { m_notifications->savingFails(m_stores->database.path()); });
    connect(notifications, &JobNotifications::balloon, this, &MainWindow::showTrayMessage);
    connect(notifications, &JobNotifications::countingDown, this, [this](bool now) {
        form().btnSettings->setEnabled(!now);
        onShowContextMenu();
    });
    connect(notifications, &JobNotifications::cancelled, this,
            [this] { m_addresses->offerKept(); });
    connect(notifications, &JobNotifications::shuttingDown, this, &MainWindow::onSaveRequest);
}

void MainWindow::startTimers()
{
    connect(&m_refreshTimer, &QTimer::timeout, this, &MainWindow::updateDownloadList);
    // A program in the background wakes up once a second, for all that is due.
    m_refreshTimer.setTimerType(Qt::VeryCoarseTimer);
    m_refreshTimer.start(refreshInterval);
    connect(&m_saveTimer, &QTimer::timeout, this, &MainWindow::saveDownloadList);
    m_saveTimer.start(saveInterval);
}

void MainWindow::buildTray()
{
    JobNotifications *notifications = m_notifications.get();
    m_trayIcon = std::make_unique<TrayIcon>(
        m_stores->options, m_stores->info.title,
        TrayIcon::Handlers{
            [this](QSystemTrayIcon::ActivationReason reason) { iconActivated(reason); },
            [this](const QByteArray &token) { m_exit.comeForward(token); },
            [notifications](const auto &...balloon) { notifications->balloonUnseen(balloon...); },
        });
    connect(m_trayIcon->actStartAll, &QAction::triggered, this, &MainWindow::onStartAll);
    connect(m_trayIcon->actPauseAll, &QAction::triggered, this, &MainWindow::onPauseAll);
    connect(m_trayIcon->actOpenFolder, &QAction::triggered, this, &MainWindow::onOpenFolder);
    connect(m_trayIcon->actSettings, &QAction::triggered, this, &MainWindow::onSettings);
    connect(m_trayIcon->actExit, &QAction::triggered, this, &MainWindow::onExit);
    connect(&m_trayIcon->menu(), &QMenu::aboutToShow, this, &MainWindow::onShowContextMenu);
    platform::watchTray(this, [this](platform::Tray tray) {
        m_trayIcon->setTray(tray);
        if (m_exit.trayChanged(m_trayIcon->isShown()))
            m_trayIcon->tellOfBackground();
    });
}

void MainWindow::showTrayMessage(const QString &title, const QString &text,
                                 QSystemTrayIcon::MessageIcon icon)
{
    if (m_trayIcon)
        m_trayIcon->showBalloon(title, text, icon);
    else
        m_notifications->balloonUnseen(title, text, icon);
}

void MainWindow::openNewDownload(const QString &url)
{
    m_addresses->open(url);
}

void MainWindow::updateDownloadList()
{
    updateLists();
}

void MainWindow::saveDownloadList()
{
    m_stores->saver.saveSoon();
}

void MainWindow::onNewDownload()
{
    openNewDownload(QString());
}

void MainWindow::onOpenFolder()
{
    m_stores->options.openOutputFolder();
}

void MainWindow::onSettings()
{
    if (m_settingsOpen || m_notifications->isCountingDown())
        return;
    m_settingsOpen = true;
    DlgSettings dialog(m_stores->options, this);
    if (dialog.exec() == QDialog::Accepted)
        m_stores->options.save();
    m_settingsOpen = false;
}

void MainWindow::onHelp()
{
    const QString page = QCoreApplication::applicationDirPath() + QStringLiteral("/help.html");
    platform::openUrl(QFile::exists(page) ? QUrl::fromLocalFile(page)
                                          : QUrl(m_stores->info.helpUrl));
}

void MainWindow::onAbout()
{
    DlgAbout dialog(m_stores->info, this);
    dialog.exec();
}

void MainWindow::onStartAll()
{
    m_stores->manager.startAll();
}

void MainWindow::onPauseAll()
{
    m_stores->manager.pauseAll();
}

void MainWindow::onShowContextMenu()
{
    const DownloadTableWidget *list = form().listViewDownloading;
    m_trayIcon->setEnabled({list->canStart(false), list->canPause(false),
                            !m_settingsOpen && !m_notifications->isCountingDown(),
                            !m_exit.queryOpen()});
}

void MainWindow::iconActivated(QSystemTrayIcon::ActivationReason reason)
{
    if (reason == QSystemTrayIcon::DoubleClick || reason == QSystemTrayIcon::Trigger)
        m_exit.comeForward();
}

void MainWindow::onInstanceCheck(QString strTimes, const QByteArray &token)
{
    if (strTimes.toInt() > 0)
        m_exit.comeForward(token);
}

void MainWindow::onFinished(int nID)
{
    m_notifications->jobEnded(nID);
}

void MainWindow::onAllFinished()
{
    saveDownloadList();
    m_notifications->allEnded();
}

void MainWindow::onClipboardChange()
{
    m_addresses->clipboardChanged();
}

bool MainWindow::onQueryExit()
{
    return m_exit.queryExit(m_stores->manager.allFinished());
}

void MainWindow::onExit()
{
    if (!onQueryExit())
        return;
    m_exit.setExiting();
    close();
}

void MainWindow::onSaveRequest()
{
    m_stores->saver.save(); // who asks may end the program right after
    m_state.save();
}

void MainWindow::onEndSession()
{
    m_exit.setExiting();
    close();
}

void MainWindow::onClose()
{
    if (!m_exit.exiting() || !m_refreshTimer.isActive())
        return;
    m_refreshTimer.stop();
    m_state.finish();
}

bool MainWindow::event(QEvent *event)
{
    if (event->type() == QEvent::Close) {
        onClose();
    } else if (event->type() == QEvent::WindowActivate && m_addresses) {
        if (!isMinimized())
            m_exit.cameBack();
        // A dialog must not open inside the change of the focus.
        QMetaObject::invokeMethod(
            this, [this] { m_addresses->windowActivated(); }, Qt::QueuedConnection);
    } else if (event->type() == QEvent::ContextMenu && m_trayIcon) {
        // The tray's menu is within reach on a desktop without a tray as well.
        m_trayIcon->menu().popup(static_cast<QContextMenuEvent *>(event)->globalPos());
        return true;
    }
    return ListsWindow::event(event);
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    if (m_exit.exiting()) {
        event->accept();
        // The last window does not count as closed when it was hidden, and a dialog may be open:
        // this ends every event loop of the thread.
        QCoreApplication::quit();
        return;
    }
    if (m_exit.sendToBackground())
        m_trayIcon->tellOfBackground();
    event->ignore();
}
