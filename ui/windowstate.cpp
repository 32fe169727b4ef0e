#include "windowstate.h"

#include "options.h"
#include "ui_mainwindow.h"

static QString frameName()
{
    return QStringLiteral("MainFrame");
}

WindowState::WindowState(Options &options, QWidget &window, Ui::MainWindow &form)
    : m_options(options)
    , m_window(window)
    , m_form(form)
{
}

void WindowState::restorePlace()
{
    m_form.tabWidget->setCurrentIndex(m_options.lastActiveTable);
    m_options.restoreGeometry(frameName(), &m_window);
}

void WindowState::restoreColumns()
{
    m_form.listViewDownloading->loadColumns();
    m_form.listViewFinished->loadColumns();
}

void WindowState::save()
{
    m_options.saveGeometry(frameName(), &m_window);
    m_form.listViewDownloading->saveColumns();
    m_form.listViewFinished->saveColumns();
    m_options.lastActiveTable = m_form.tabWidget->currentIndex();
    m_options.showMainFrame = m_window.isVisible();
}
