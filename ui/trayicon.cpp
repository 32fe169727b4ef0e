#include "trayicon.h"

#include "appinfo.h"
#include "options.h"

#include <QCoreApplication>

static QString text(const char *source)
{
    return QCoreApplication::translate("MainWindow", source);
}

TrayIcon::TrayIcon(QObject *parent)
    : QSystemTrayIcon(parent)
    , actStartAll(text("&Start All"))
    , actPauseAll(text("&Pause All"))
    , actOpenFolder(text("&Open Folder..."))
    , actSettings(text("S&ettings..."))
    , actExit(text("&Exit"))
{
    m_menu.addAction(&actStartAll);
    m_menu.addAction(&actPauseAll);
    m_menu.addSeparator();
    m_menu.addAction(&actOpenFolder);
    m_menu.addAction(&actSettings);
    m_menu.addSeparator();
    m_menu.addAction(&actExit);
    setContextMenu(&m_menu);
    setIcon(QIcon(QStringLiteral(":/png/GeneratedFiles/mainframe_small.png")));
    setToolTip(AppInfo::instance()->title);
}

TrayIcon::~TrayIcon()
{
    hide();
}

void TrayIcon::setEnabled(const Enabled &enabled)
{
    actStartAll.setEnabled(enabled.startAll);
    actPauseAll.setEnabled(enabled.pauseAll);
    actSettings.setEnabled(enabled.settings);
    actExit.setEnabled(enabled.exit);
}

void TrayIcon::showBalloon(const QString &title, const QString &text, MessageIcon icon)
{
    const int seconds = qBound(1, Options::instance()->trayNotifyDuration, 3600);
    showMessage(title, text, icon, seconds * 1000);
}
