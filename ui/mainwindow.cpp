#include "mainwindow.h"

#include "appinfo.h"
#include "cjslib.h"
#include "dlgabout.h"
#include "dlgsettings.h"
#include "downloadermanager.h"
#include "joblists.h"
#include "jobnotifications.h"
#include "messagebox.h"
#include "newdownload.h"
#include "options.h"
#include "platform.h"
#include "startup.h"
#include "trayicon.h"
#include "ui_mainwindow.h"
#include "webdatabase.h"

#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QShortcut>
#include <QTimer>
#include <QUrl>
#include <QWindow>

static const int refreshInterval = 1000; // milliseconds
static const int saveInterval = 30000;   // milliseconds

MainWindow::MainWindow(bool show, QWidget *parent, const std::function<bool()> &sessionEnds)
    : QMainWindow(parent)
    , m_ui(std::make_unique<Ui::MainWindow>())
    , m_stores(std::make_unique<Stores>())
    , m_exit(*this, m_stores->options)
    , m_layout(*m_ui)
    , m_state(m_stores->options, *this, *m_ui)
{
    updateScripts(m_stores->options, m_stores->info);
    if (sessionEnds())
        return;
    buildForm();
    setMainWindow(this);
    m_stores->options.ensureOutputFolder();
    if (!m_stores->load()) {
        m_exitCode = 2;
        return;
    }
    if (sessionEnds())
        return;
    makeHelpers();
    connectForm();
    connectJobs();
    m_lists->fillViews();
    startTimers();
    m_stores->manager.resumeRunning();
    onDownloadListSelectionChanged();
    onFinisedListSelectionChanged();
    updateDownloadList();
    m_state.restorePlace();
    m_layout.place(size());
    m_state.restoreColumns();
    if (m_ui->tabWidget->currentIndex() == 0)
        m_ui->btnNewDownload->setFocus(Qt::OtherFocusReason);
    else
        m_ui->btnOpenFolder->setFocus(Qt::OtherFocusReason);
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
    delete m_refreshTimer;
    delete m_saveTimer;
    setMainWindow(nullptr);

    m_notifications.reset();
    m_newDownload.reset();
    m_stores.reset();
}

void MainWindow::buildForm()
{
    m_ui->setupUi(this);
    const QColor themeColor = m_stores->info.themeColor;
    m_ui->listViewDownloading->init(m_stores->manager, m_stores->options, themeColor);
    m_ui->listViewFinished->init(m_stores->manager, m_stores->options, themeColor);
    m_stores->scripts.loadScripts(m_stores->options.jsPath);
}

void MainWindow::makeHelpers()
{
    m_clipboardWatch = std::make_unique<ClipboardWatch>(
        *QGuiApplication::clipboard(),
        ClipboardWatch::Rules{m_stores->info, m_stores->options,
                              [this] { return clipboardMoment(); },
                              [this](const QString &address) { openNewDownload(address); }});
    m_lists = std::make_unique<JobLists>(m_stores->manager, *m_ui->listViewDownloading,
                                         *m_ui->listViewFinished);
    m_notifications =
        std::make_unique<JobNotifications>(m_stores->manager, m_stores->options, this);
    m_newDownload =
        std::make_unique<NewDownload>(NewDownloadSurroundings{m_stores->options, m_stores->profiles,
                                                              m_stores->scripts, m_stores->info},
                                      &m_stores->manager, m_ui->listViewDownloading, this);
}

void MainWindow::connectForm()
{
    const auto onClick = [this](QPushButton *button, void (MainWindow::*slot)()) {
        connect(button, &QPushButton::clicked, this, slot);
    };
    onClick(m_ui->btnStart, &MainWindow::onStart);
    onClick(m_ui->btnPause, &MainWindow::onPause);
    onClick(m_ui->btnDownloadDelete, &MainWindow::onDownloadDelete);
    onClick(m_ui->btnNewDownload, &MainWindow::onNewDownload);
    connect(m_ui->listViewDownloading, &QTableWidget::itemSelectionChanged, this,
            &MainWindow::onDownloadListSelectionChanged);
    onClick(m_ui->btnOpenFolder, &MainWindow::onOpenFolder);
    onClick(m_ui->btnPlay, &MainWindow::onPlay);
    onClick(m_ui->btnFinishedDelete, &MainWindow::onFinishedDelete);
    onClick(m_ui->btnRename, &MainWindow::onRename);
    connect(m_ui->listViewFinished, &QTableWidget::itemSelectionChanged, this,
            &MainWindow::onFinisedListSelectionChanged);
    onClick(m_ui->btnSettings, &MainWindow::onSettings);
    onClick(m_ui->btnHelp, &MainWindow::onHelp);
    onClick(m_ui->btnAbout, &MainWindow::onAbout);
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
    // A crash must not lose what was just asked for, nor what was just done.
    connect(manager, &DownloaderManager::sigJobsChanged, this, &MainWindow::saveDownloadList);
    connect(&m_stores->saver, &JobSaver::sigSavingFails, this, [this] {
        showTrayMessage(tr("Cannot Save"),
                        tr("The download list cannot be saved to \"%1\". It is tried again.")
                            .arg(m_stores->database.path()),
                        QSystemTrayIcon::Warning);
    });
    const JobNotifications *notifications = m_notifications.get();
    connect(notifications, &JobNotifications::balloon, this,
            [this](const QString &title, const QString &text) {
                showTrayMessage(title, text, QSystemTrayIcon::Information);
            });
    connect(notifications, &JobNotifications::countingDown, this, [this](bool now) {
        m_ui->btnSettings->setEnabled(!now);
        onShowContextMenu();
    });
    connect(notifications, &JobNotifications::cancelled, this,
            [this] { m_clipboardWatch->offerKept(); });
}

void MainWindow::startTimers()
{
    m_refreshTimer = new QTimer(this);
    connect(m_refreshTimer, &QTimer::timeout, this, &MainWindow::updateDownloadList);
    m_refreshTimer->start(refreshInterval);
    m_saveTimer = new QTimer(this);
    connect(m_saveTimer, &QTimer::timeout, this, &MainWindow::saveDownloadList);
    m_saveTimer->start(saveInterval);
}

void MainWindow::buildTray()
{
    m_trayIcon = std::make_unique<TrayIcon>(
        m_stores->options, m_stores->info.title,
        [this](QSystemTrayIcon::ActivationReason reason) { iconActivated(reason); });
    connect(m_trayIcon->actStartAll, &QAction::triggered, this, &MainWindow::onStartAll);
    connect(m_trayIcon->actPauseAll, &QAction::triggered, this, &MainWindow::onPauseAll);
    connect(m_trayIcon->actOpenFolder, &QAction::triggered, this, &MainWindow::onOpenFolder);
    connect(m_trayIcon->actSettings, &QAction::triggered, this, &MainWindow::onSettings);
    connect(m_trayIcon->actExit, &QAction::triggered, this, &MainWindow::onExit);
    connect(&m_trayIcon->menu(), &QMenu::aboutToShow, this, &MainWindow::onShowContextMenu);
    platform::watchTray(this, [this](bool there) {
        m_trayIcon->setTrayThere(there);
        if (m_exit.trayChanged(m_trayIcon->isShown()))
            tellOfBackground();
    });
}

void MainWindow::showTrayMessage(const QString &title, const QString &text,
                                 QSystemTrayIcon::MessageIcon icon)
{
    if (m_trayIcon)
        m_trayIcon->showBalloon(title, text, icon);
}

void MainWindow::openNewDownload(const QString &url)
{
    if (m_notifications->isCountingDown())
        return;
    if (isVisible())
        bringToFront(this);
    m_newDownload->run(url);
}

void MainWindow::updateDownloadList()
{
    m_lists->updateViews();
    m_layout.showCounts(m_ui->listViewDownloading->rowCount(), m_ui->listViewFinished->rowCount());
    // A selected job may have ended by itself.
    onDownloadListSelectionChanged();
}

void MainWindow::saveDownloadList()
{
    m_stores->saver.save();
}

void MainWindow::onStart()
{
    m_ui->listViewDownloading->onStart();
}

void MainWindow::onPause()
{
    m_ui->listViewDownloading->onPause();
}

void MainWindow::onDownloadDelete()
{
    m_ui->listViewDownloading->onDelete();
}

void MainWindow::onNewDownload()
{
    openNewDownload(QString());
}

void MainWindow::onDownloadListSelectionChanged()
{
    const DownloadTableWidget *list = m_ui->listViewDownloading;
    m_ui->btnStart->setEnabled(list->canStart(true));
    m_ui->btnPause->setEnabled(list->canPause(true));
    m_ui->btnDownloadDelete->setEnabled(list->hasSelection());
}

void MainWindow::onPlay()
{
    m_ui->listViewFinished->onPlay();
}

void MainWindow::onFinishedDelete()
{
    m_ui->listViewFinished->onDelete();
}

void MainWindow::onRename()
{
    m_ui->listViewFinished->onRename();
}

void MainWindow::onOpenFolder()
{
    m_stores->options.openOutputFolder();
}

void MainWindow::onFinisedListSelectionChanged()
{
    const FinishedTableWidget *list = m_ui->listViewFinished;
    m_ui->btnPlay->setEnabled(list->hasSingleSelection());
    m_ui->btnRename->setEnabled(list->hasSingleSelection());
    m_ui->btnFinishedDelete->setEnabled(list->hasSelection());
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
    platform::openUrl(QUrl(m_stores->info.helpUrl));
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
    const DownloadTableWidget *list = m_ui->listViewDownloading;
    m_trayIcon->setEnabled({list->canStart(false), list->canPause(false),
                            !m_settingsOpen && !m_notifications->isCountingDown(),
                            !m_exit.queryOpen()});
}

void MainWindow::iconActivated(QSystemTrayIcon::ActivationReason reason)
{
    if (reason == QSystemTrayIcon::DoubleClick || reason == QSystemTrayIcon::Trigger)
        bringToFront(this);
}

void MainWindow::onInstanceCheck(QString strTimes)
{
    if (strTimes.toInt() > 0)
        bringToFront(this);
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
    m_clipboardWatch->changed();
}

ClipboardWatch::Moment MainWindow::clipboardMoment() const
{
    if (m_newDownload->isOpen() || m_exit.exiting())
        return ClipboardWatch::Moment::Drop;
    return m_notifications->isCountingDown() ? ClipboardWatch::Moment::Keep
                                             : ClipboardWatch::Moment::Offer;
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
    saveDownloadList();
    m_state.save();
}

void MainWindow::onEndSession()
{
    m_exit.setExiting();
    close();
}

void MainWindow::onClose()
{
    if (!m_exit.exiting() || !m_refreshTimer)
        return;
    delete m_refreshTimer;
    m_refreshTimer = nullptr;
    m_state.finish();
}

bool MainWindow::event(QEvent *event)
{
    if (event->type() == QEvent::Close) {
        onClose();
    } else if (event->type() == QEvent::WindowActivate && m_clipboardWatch) {
        if (!isMinimized())
            m_exit.cameBack();
        // A dialog must not open inside the change of the focus.
        QMetaObject::invokeMethod(
            this, [this] { m_clipboardWatch->activated(); }, Qt::QueuedConnection);
    } else if (event->type() == QEvent::ContextMenu && m_trayIcon) {
        // The tray's menu is within reach on a desktop without a tray as well.
        m_trayIcon->menu().popup(static_cast<QContextMenuEvent *>(event)->globalPos());
        return true;
    }
    return QMainWindow::event(event);
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
        tellOfBackground();
    event->ignore();
}

void MainWindow::tellOfBackground()
{
    showTrayMessage(QString(),
                    tr("Corvane Reelkeeper will continue to run in the background. You can click "
                       "this icon to open it again."),
                    QSystemTrayIcon::Information);
}

void MainWindow::resizeEvent(QResizeEvent *event)
{
    QMainWindow::resizeEvent(event);
    m_layout.place(event->size());
}
