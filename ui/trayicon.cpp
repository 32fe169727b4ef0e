#include "trayicon.h"

#include "options.h"

#include <utility>

TrayIcon::TrayIcon(const Options &options, const QString &title, Activated activated)
    : m_options(options)
    , m_title(title)
    , m_activated(std::move(activated))
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
void TrayIcon::setTrayThere(bool there)
{
    m_icon.reset();
    if (!there || !QSystemTrayIcon::isSystemTrayAvailable())
        return;
    m_icon = std::make_unique<QSystemTrayIcon>();
    m_icon->setContextMenu(&m_menu);
    m_icon->setIcon(QIcon(QStringLiteral(":/png/GeneratedFiles/mainframe_small.png")));
    m_icon->setToolTip(m_title);
    QObject::connect(m_icon.get(), &QSystemTrayIcon::activated, m_icon.get(), m_activated);
    m_icon->show();
}

void TrayIcon::showBalloon(const QString &title, const QString &text,
                           QSystemTrayIcon::MessageIcon icon)
{
    const int seconds = qBound(1, m_options.trayNotifyDuration, 3600);
    if (m_icon)
        m_icon->showMessage(title, text, icon, seconds * 1000);
}

void TrayIcon::tellOfBackground()
{
    showBalloon(QString(),
                tr("Corvane Reelkeeper will continue to run in the background. You can click this "
                   "icon to open it again."),
                QSystemTrayIcon::Information);
}
