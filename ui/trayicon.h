#pragma once

#include "platform.h"

#include <QCoreApplication>
#include <QMenu>
#include <QSystemTrayIcon>

#include <functional>
#include <memory>

class Options;

// The icon in the tray, for as long as the desktop has a tray, and its menu.
class TrayIcon final
{
    Q_DECLARE_TR_FUNCTIONS(MainWindow)
    Q_DISABLE_COPY(TrayIcon)

public:
    struct Handlers
    {
        std::function<void(QSystemTrayIcon::ActivationReason)> activated;
        // On a balloon; token: what the desktop gives for the window to come forward with.
        std::function<void(const QByteArray &token)> clicked;
        // The desktop has nothing to show this balloon with.
        std::function<void(const QString &title, const QString &text,
                           QSystemTrayIcon::MessageIcon icon)>
            unseen;
    };

    // options: must outlive it.
    TrayIcon(const Options &options, const QString &title, const Handlers &handlers);
    ~TrayIcon();

    // What the menu offers at the moment.
    struct Enabled
    {
        bool startAll = false;
        bool pauseAll = false;
        bool settings = false;
        bool exit = false;
    };
    void setEnabled(const Enabled &enabled);
    QMenu &menu() { return m_menu; }

    void setTray(platform::Tray tray);
    bool isShown() const { return m_icon != nullptr; }
    // A balloon that stays for as long as the settings say: the icon's own, or a notification of
    // the desktop where there is no icon that could show one.
    void showBalloon(const QString &title, const QString &text, QSystemTrayIcon::MessageIcon icon);
    void tellOfBackground(); // where the hidden window has gone

private:
    const Options &m_options;
    const QString m_title;
    const Handlers m_handlers;
    platform::Notifications m_notifications;
    QMenu m_menu;

public:
    // The menu's.
    QAction *const actStartAll;
    QAction *const actPauseAll;
    QAction *const actOpenFolder;
    QAction *const actSettings;
    QAction *const actExit;

private:
    std::unique_ptr<QSystemTrayIcon> m_icon;
    bool m_showsBalloons = false; // the icon
};
