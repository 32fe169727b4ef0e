#include "mainwindow.h"

#include "appinfo.h"
#include "cjslib.h"
#include "clipboardwatch.h"
#include "dlgabout.h"
#include "dlgsettings.h"
#include "downloadermanager.h"
#include "jobnotifications.h"
#include "logfile.h"
#include "messagebox.h"
#include "newdownload.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "startup.h"
#include "trayicon.h"
#include "ui_mainwindow.h"
#include "webdatabase.h"

#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QContextMenuEvent>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QShortcut>
#include <QStyle>
#include <QTabBar>
#include <QTimer>
#include <QUrl>
#include <QWindow>

static const int refreshInterval = 1000; // milliseconds
static const int saveInterval = 30000;   // milliseconds

MainWindow::MainWindow(bool show, QWidget *parent)
    : QMainWindow(parent)
    , m_ui(std::make_unique<Ui::MainWindow>())
    , m_exit(this, [] { return QSystemTrayIcon::isSystemTrayAvailable(); })
{
    Options *options = Options::instance();
    options->load();
    if (options->enableLogging)
        LogFile::instance()->open();
    updateScripts();
    buildForm();
    setMainWindow(this);
    options->ensureOutputFolder();
    m_ui->tabWidget->setCurrentIndex(options->lastActiveTable);
    if (!loadStores()) {
        m_exitCode = 2;
        return;
    }
    m_manager = DownloaderManager::instance();
    connectAll();
    m_manager->fillViews(m_ui->listViewDownloading, m_ui->listViewFinished);
    startTimers();
    m_manager->resumeRunning();
    onDownloadListSelectionChanged();
    onFinisedListSelectionChanged();
    updateDownloadList();
    if (m_ui->tabWidget->currentIndex() == 0)
        m_ui->btnNewDownload->setFocus(Qt::OtherFocusReason);
    else
        m_ui->btnOpenFolder->setFocus(Qt::OtherFocusReason);
    buildTray();
    // Placed before it is shown: a window that is moved once its frame is there lands elsewhere.
    options->restoreGeometry(QStringLiteral("MainFrame"), this);
    if (show)
        this->show();
    else
        close();
    m_ui->listViewDownloading->loadColumns();
    m_ui->listViewFinished->loadColumns();
}

MainWindow::~MainWindow()
{
    // Nothing that still happens while the jobs are stopped may reach the window.
    if (m_manager)
        m_manager->disconnect(this);
    QGuiApplication::clipboard()->disconnect(this);
    delete m_refreshTimer;
    delete m_saveTimer;
    setMainWindow(nullptr);

    m_notifications.reset();
    m_newDownload.reset();
    DownloaderManager::destroyInstance();
    WebDatabase::destroyInstance();
    OutputProfileManager::destroyInstance();
    CJSLib::destroyInstance();
    LogFile::destroyInstance();
    Options::instance()->save();
    Options::destroyInstance();
    AppInfo::destroyInstance();
    delete m_trayIcon;
}

void MainWindow::buildForm()
{
    m_ui->setupUi(this);
    m_ui->listViewDownloading->init();
    m_ui->listViewFinished->init();
    CJSLib::instance()->loadScripts();
}

void MainWindow::connectAll()
{
    QClipboard *clipboard = QGuiApplication::clipboard();
    m_clipboardWatch = std::make_unique<ClipboardWatch>(clipboard);
    m_notifications = std::make_unique<JobNotifications>(
        m_manager, this, [this](const QString &title, const QString &text) {
            showTrayMessage(title, text, QSystemTrayIcon::Information);
        });
    m_newDownload = std::make_unique<NewDownload>(m_manager, m_ui->listViewDownloading, this);

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
    // Queued: a job can end while it is being started, during the construction or in the middle of
    // a walk over all jobs, and what follows may open a dialog.
    connect(m_manager, &DownloaderManager::sigFinished, this, &MainWindow::onFinished,
            Qt::QueuedConnection);
    connect(m_manager, &DownloaderManager::sigAllFinished, this, &MainWindow::onAllFinished,
            Qt::QueuedConnection);
    // A crash must not lose what was just asked for, nor what was just done.
    connect(m_manager, &DownloaderManager::sigJobsChanged, this, &MainWindow::saveDownloadList);
    connect(clipboard, &QClipboard::dataChanged, this, &MainWindow::onClipboardChange);
    // On both tabs; and the only other way out is the tray's menu, which not every desktop shows.
    const auto onKey = [this](QKeySequence::StandardKey key, void (MainWindow::*slot)()) {
        connect(new QShortcut(QKeySequence(key), this), &QShortcut::activated, this, slot);
    };
    onKey(QKeySequence::New, &MainWindow::onNewDownload);
    onKey(QKeySequence::Open, &MainWindow::onOpenFolder);
    onKey(QKeySequence::Quit, &MainWindow::onExit);
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
    m_trayIcon = new TrayIcon(this);
    connect(&m_trayIcon->actStartAll, &QAction::triggered, this, &MainWindow::onStartAll);
    connect(&m_trayIcon->actPauseAll, &QAction::triggered, this, &MainWindow::onPauseAll);
    connect(&m_trayIcon->actOpenFolder, &QAction::triggered, this, &MainWindow::onOpenFolder);
    connect(&m_trayIcon->actSettings, &QAction::triggered, this, &MainWindow::onSettings);
    connect(&m_trayIcon->actExit, &QAction::triggered, this, &MainWindow::onExit);
    connect(&m_trayIcon->menu(), &QMenu::aboutToShow, this, &MainWindow::onShowContextMenu);
    m_trayIcon->setVisible(true);
    connect(m_trayIcon, &QSystemTrayIcon::activated, this, &MainWindow::iconActivated);
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
    m_manager->updateViews(m_ui->listViewDownloading, m_ui->listViewFinished);
    const int downloading = m_ui->listViewDownloading->rowCount();
    const int finished = m_ui->listViewFinished->rowCount();
    m_ui->tabWidget->setTabText(0, tr("Downloading(%1)").arg(downloading));
    m_ui->tabWidget->setTabText(1, tr("Finished(%1)").arg(finished));
    giveCaptionsRoom(qMax(downloading, finished) >= 100);
    // A selected job may have ended by itself.
    onDownloadListSelectionChanged();
    m_exit.followTray();
}

// Long captions get the room of the tabs' padding, which the style sheet gives by this property.
void MainWindow::giveCaptionsRoom(bool needed)
{
    QTabBar *tabs = m_ui->tabWidget->tabBar();
    if (tabs->property("longCaptions").toBool() == needed)
        return;
    tabs->setProperty("longCaptions", needed);
    tabs->style()->unpolish(tabs);
    tabs->style()->polish(tabs);
}

void MainWindow::saveDownloadList()
{
    WebDatabase::instance()->Save(m_manager);
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
    Options::instance()->openOutputFolder();
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
    DlgSettings dialog(this);
    if (dialog.exec() == QDialog::Accepted)
        Options::instance()->save();
    m_settingsOpen = false;
}

void MainWindow::onHelp()
{
    QDesktopServices::openUrl(QUrl(AppInfo::instance()->helpUrl));
}

void MainWindow::onAbout()
{
    DlgAbout dialog(this);
    dialog.exec();
}

void MainWindow::onStartAll()
{
    m_manager->startAll();
}

void MainWindow::onPauseAll()
{
    m_manager->pauseAll();
}

void MainWindow::onShowContextMenu()
{
    const DownloadTableWidget *list = m_ui->listViewDownloading;
    m_trayIcon->setEnabled(
        {list->canStart(false), list->canPause(false), !m_settingsOpen, !m_exit.queryOpen()});
}

void MainWindow::showAgain()
{
    if (isMinimized())
        showNormal();
    else
        show();
    activateWindow();
    // Hidden only a moment ago: the focus has not been taken from it yet, so nothing will announce
    // that it is active, and its widgets would take keys without having the focus.
    if (windowHandle()->isActive() && !isActiveWindow())
        QApplication::setActiveWindow(this);
}

void MainWindow::iconActivated(QSystemTrayIcon::ActivationReason reason)
{
    if (reason == QSystemTrayIcon::DoubleClick || reason == QSystemTrayIcon::Trigger)
        showAgain();
}

void MainWindow::onInstanceCheck(QString strTimes)
{
    if (strTimes.toInt() <= 0)
        return;
    if (isVisible())
        bringToFront(this);
    else
        showAgain();
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
    offerAddress(m_clipboardWatch->changed());
}

void MainWindow::offerAddress(const QString &text)
{
    if (text.isEmpty() || !AppInfo::instance()->isSupportedUrl(text))
        return;
    if (Options::instance()->autoOpenNew && !m_newDownload->isOpen() && !m_exit.exiting())
        openNewDownload(text);
}

bool MainWindow::onQueryExit()
{
    return m_exit.queryExit(m_manager->allFinished());
}

void MainWindow::onExit()
{
    if (!onQueryExit())
        return;
    m_exit.setExiting();
    close();
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
    Options *options = Options::instance();
    options->saveGeometry(QStringLiteral("MainFrame"), this);
    m_ui->listViewDownloading->saveColumns();
    m_ui->listViewFinished->saveColumns();
    options->lastActiveTable = m_ui->tabWidget->currentIndex();
    options->showMainFrame = isVisible();
}

bool MainWindow::event(QEvent *event)
{
    if (event->type() == QEvent::Close) {
        onClose();
    } else if (event->type() == QEvent::WindowActivate && m_clipboardWatch) {
        // A dialog must not open inside the change of the focus.
        QMetaObject::invokeMethod(
            this, [this] { offerAddress(m_clipboardWatch->activated()); }, Qt::QueuedConnection);
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
    if (m_exit.sendToBackground()) {
        showTrayMessage(QString(),
                        tr("Corvane Reelkeeper will continue to run in the background. You can "
                           "click this icon to open it again."),
                        QSystemTrayIcon::Information);
    }
    event->ignore();
}

void MainWindow::resizeEvent(QResizeEvent *event)
{
    QMainWindow::resizeEvent(event);
    const QSize size = event->size();
    m_ui->tabWidget->resize(size);
    const QSize list(size.width() - m_margins.left() - m_margins.right(),
                     size.height() - m_margins.top() - m_margins.bottom());
    m_ui->listViewDownloading->resize(list);
    m_ui->listViewFinished->resize(list);

    int right = size.width() - 11;
    for (QPushButton *button : {m_ui->btnAbout, m_ui->btnHelp, m_ui->btnSettings}) {
        QRect place = button->geometry();
        place.moveRight(right);
        button->move(place.topLeft());
        right = place.left() - 1;
    }
}
