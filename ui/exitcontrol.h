#pragma once

#include <functional>

class QWidget;

// What closing the window means, and when the program may end.
class ExitControl final
{
public:
    // trayThere tells whether a hidden window can be brought back by the tray.
    ExitControl(QWidget *window, std::function<bool()> trayThere);

    bool exiting() const { return m_exiting; } // a real close is under way
    void setExiting() { m_exiting = true; }
    bool queryOpen() const { return m_queryOpen; } // the exit question is shown

    // Whether the program may end; asks when something is unfinished and the person wants to be
    // asked. Runs a modal dialog. False while the question is already open.
    bool queryExit(bool allFinished);

    // Hides the window into the tray, or minimises it where there is none. True when the balloon
    // that tells of the tray is due: the first time that the window is hidden.
    bool sendToBackground();
    // Brings a hidden window back, minimised, when the tray has gone.
    void followTray();

private:
    QWidget *m_window;
    std::function<bool()> m_trayThere;
    bool m_exiting = false;
    bool m_queryOpen = false;
    bool m_inTray = false;
};
