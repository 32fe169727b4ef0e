#include "trayicon.h"

#include "options.h"

TrayIcon::TrayIcon(const Options &options, const QString &title, const Handlers &handlers)
    : m_options(options)
    , m_title(title)
    , m_handlers(handlers)
    , m_notifications(handlers.clicked)
    , actStartAll(m_menu.addAction(tr("&Start All")))
    , actPauseAll(m_menu.addAction(tr("&Pause All")))
    , actOpenFolder(m_menu.addAction(tr("&Open Folder...")))
    , actSettings(m_menu.addAction(tr("S&ettings...")))
    , actExit(m_menu.addAction(tr("&Exit")))
{
    m_menu.insertSeparator(actOpenFolder);
    m_menu.insertSeparator(actExit);
}

TrayIcon::~TrayIcon() = default;

void TrayIcon::setEnabled(const Enabled &enabled)
{
    actStartAll->setEnabled(enabled.startAll);
    actPauseAll->setEnabled(enabled.pauseAll);
    actSettings->setEnabled(enabled.settings);
    actExit->setEnabled(enabled.exit);
}

// An icon is made for every tray that comes: the toolkit decides when it is made how to show it,
// and one that was made too early would never be seen.
void TrayIcon::setTray(platform::Tray tray)
{
    m_icon.reset();
    m_showsBalloons = tray == platform::Tray::OfWindows;
    if (tray == platform::Tray::Missing || !QSystemTrayIcon::isSystemTrayAvailable())
        return;
    m_icon = std::make_unique<QSystemTrayIcon>();
    m_icon->setContextMenu(&m_menu);
    m_icon->setIcon(QIcon(QStringLiteral(":/png/GeneratedFiles/mainframe_small.png")));
    m_icon->setToolTip(m_title);
    QObject::connect(m_icon.get(), &QSystemTrayIcon::activated, m_icon.get(), m_handlers.activated);
    QObject::connect(m_icon.get(), &QSystemTrayIcon::messageClicked, m_icon.get(),
                     [this] { m_handlers.clicked(QByteArray()); });
    m_icon->show();
}

void TrayIcon::showBalloon(const QString &title, const QString &text,
                           QSystemTrayIcon::MessageIcon icon)
{
    const int milliseconds = qBound(1, m_options.trayNotifyDuration, 3600) * 1000;
    if (m_icon && m_showsBalloons)
        m_icon->showMessage(title, text, icon, milliseconds);
    else
        m_notifications.show({title, text, icon == QSystemTrayIcon::Warning, milliseconds},
                             [this, title, text, icon] { m_handlers.unseen(title, text, icon); });
}

void TrayIcon::tellOfBackground()
{
    showBalloon(QString(),
                tr("Corvane Reelkeeper will continue to run in the background. You can click this "
                   "icon to open it again."),
                QSystemTrayIcon::Information);
}
