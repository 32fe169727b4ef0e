#include "exitcontrol.h"

#include "dlgexit.h"
#include "options.h"

#include <QWidget>

#include <utility>

ExitControl::ExitControl(QWidget *window, std::function<bool()> trayThere)
    : m_window(window)
    , m_trayThere(std::move(trayThere))
{
}

bool ExitControl::queryExit(bool allFinished)
{
    if (m_queryOpen)
        return false;
    if (!Options::instance()->queryOnExit || allFinished)
        return true;
    m_queryOpen = true;
    DlgExit dialog(m_window);
    const bool accepted = dialog.exec() == QDialog::Accepted;
    m_queryOpen = false;
    return accepted;
}

bool ExitControl::sendToBackground()
{
    m_inTray = m_trayThere();
    if (!m_inTray) {
        m_window->showMinimized();
        return false;
    }
    m_window->hide();
    return std::exchange(Options::instance()->firstCloseMainFrame, false);
}

void ExitControl::followTray()
{
    if (!m_inTray || m_exiting || m_window->isVisible() || m_trayThere())
        return;
    m_inTray = false;
    m_window->showMinimized();
}
