#pragma once

#include <QByteArray>

class Options;
class QWidget;

// What closing the window means, and when the program may end.
class ExitControl final
{
public:
    // Both must outlive it.
    ExitControl(QWidget &window, Options &options);

    bool exiting() const { return m_exiting; } // a real close is under way
    void setExiting() { m_exiting = true; }
    bool queryOpen() const { return m_queryOpen; } // the exit question is shown

    // Whether the program may end; asks when something is unfinished and the person wants to be
    // asked. Runs a modal dialog. False while the question is already open.
    bool queryExit(bool allFinished);

    // Hides the window into the tray, or minimises it where there is none; as long as that is not
    // known it is hidden, and what becomes of it is decided by trayChanged(). True when the balloon
    // that tells of the tray is due: the first time that the window is hidden.
    bool sendToBackground();
    // The tray has come, has gone or is known not to be there: a window that was sent to the
    // background goes where it can be found again.
    bool trayChanged(bool there); // true as above
    // Out of the background; token: of the desktop's, that lets the window come forward.
    void comeForward(const QByteArray &token = QByteArray());
    void cameBack() { m_inBackground = false; } // the window is being used again

private:
    enum class Tray { Unknown, There, Missing };

    bool settle();

    QWidget &m_window;
    Options &m_options;
    Tray m_tray = Tray::Unknown;
    bool m_exiting = false;
    bool m_queryOpen = false;
    bool m_inBackground = false;
};
