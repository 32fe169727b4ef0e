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
    QObject::connect(&m_watch, &QTimer::timeout, &m_watch, [this] { saveChanges(); });
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

void WindowState::watch()
{
    m_seenFrame = m_savedFrame = frame();
    m_watch.setTimerType(Qt::VeryCoarseTimer);
    m_watch.start(1000);
}

void WindowState::save()
{
    noteWindow();
    saveFrame();
    m_options.save();
}

void WindowState::finish()
{
    m_watch.stop();
    save();
}

QVariantList WindowState::frame() const
{
    QVariantList all{m_window.size(), m_window.pos()};
    for (const QTableWidget *list : {static_cast<QTableWidget *>(m_form.listViewDownloading),
                                     static_cast<QTableWidget *>(m_form.listViewFinished)}) {
        for (int column = 0; column < list->columnCount(); ++column)
            all << list->columnWidth(column);
    }
    return all;
}

void WindowState::noteWindow()
{
    m_options.lastActiveTable = m_form.tabWidget->currentIndex();
    m_options.showMainFrame = m_window.isVisible();
}

void WindowState::saveFrame()
{
    m_savedFrame = frame();
    m_options.saveGeometry(frameName(), &m_window);
    m_form.listViewDownloading->saveColumns();
    m_form.listViewFinished->saveColumns();
}

void WindowState::saveChanges()
{
    noteWindow();
    // Once it stands still: a window that is being dragged is another one every second, and each
    // save waits for the disk.
    const QVariantList now = frame();
    if (now == m_seenFrame && now != m_savedFrame)
        saveFrame();
    m_seenFrame = now;
    m_options.saveChanges();
}
