#pragma once

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
    using Activated = std::function<void(QSystemTrayIcon::ActivationReason)>;

    // options: must outlive it.
    TrayIcon(const Options &options, const QString &title, Activated activated);
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

    void setTrayThere(bool there);
    bool isShown() const { return m_icon != nullptr; }
    // A balloon that stays for as long as the settings say; nothing while there is no icon.
    void showBalloon(const QString &title, const QString &text, QSystemTrayIcon::MessageIcon icon);
    void tellOfBackground(); // where the hidden window has gone

private:
    const Options &m_options;
    const QString m_title;
    const Activated m_activated;
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
};
