#pragma once

#include <QAction>
#include <QMenu>
#include <QSystemTrayIcon>

// The icon in the tray with its menu.
class TrayIcon final : public QSystemTrayIcon
{
    Q_OBJECT
    Q_DISABLE_COPY(TrayIcon)

public:
    explicit TrayIcon(QObject *parent);
    ~TrayIcon() override;

    // What the menu offers at the moment; set when it is about to be shown.
    struct Enabled
    {
        bool startAll = false;
        bool pauseAll = false;
        bool settings = false;
        bool exit = false;
    };
    void setEnabled(const Enabled &enabled);
    QMenu &menu() { return m_menu; }

    // A balloon that stays for as long as the settings say.
    void showBalloon(const QString &title, const QString &text, MessageIcon icon = Information);

private:
    // The actions go first, then the menu.
    QMenu m_menu;

public:
    QAction actStartAll;
    QAction actPauseAll;
    QAction actOpenFolder;
    QAction actSettings;
    QAction actExit;
};
