#include "exitcontrol.h"

#include "dlgexit.h"
#include "messagebox.h"
#include "options.h"
#include "platform.h"

#include <QWidget>

#include <utility>

ExitControl::ExitControl(QWidget &window, Options &options)
    : m_window(window)
    , m_options(options)
{
}

bool ExitControl::queryExit(bool allFinished)
{
    if (m_queryOpen)
        return false;
    if (!m_options.queryOnExit || allFinished)
        return true;
    m_queryOpen = true;
    DlgExit dialog(m_options, &m_window);
    const bool accepted = dialog.exec() == QDialog::Accepted;
    m_queryOpen = false;
    return accepted;
}

bool ExitControl::sendToBackground()
{
    m_inBackground = true;
    return settle();
}

bool ExitControl::trayChanged(bool there)
{
    m_tray = there ? Tray::There : Tray::Missing;
    return m_inBackground && !m_exiting && settle();
}

void ExitControl::comeForward(const QByteArray &token)
{
    // The desktop may show a window without giving it the focus; it is in use all the same.
    cameBack();
    bringToFront(&m_window, token);
}

bool ExitControl::settle()
{
    if (m_tray == Tray::Missing) {
        platform::minimizeWindow(&m_window);
        return false;
    }
    m_window.hide();
    return m_tray == Tray::There && std::exchange(m_options.firstCloseMainFrame, false);
}
