#include "windowlayout.h"

#include "ui_mainwindow.h"

#include <QStyle>
#include <QTabBar>

WindowLayout::WindowLayout(Ui::MainWindow &form)
    : m_form(form)
{
}

void WindowLayout::place(const QSize &window)
{
    m_form.tabWidget->resize(window);
    const QSize list(window.width() - m_margins.left() - m_margins.right(),
                     window.height() - m_margins.top() - m_margins.bottom());
    m_form.listViewDownloading->place(QRect(m_form.listViewDownloading->pos(), list));
    m_form.listViewFinished->place(QRect(m_form.listViewFinished->pos(), list));

    int right = window.width() - 11;
    for (QPushButton *button : {m_form.btnAbout, m_form.btnHelp, m_form.btnSettings}) {
        QRect place = button->geometry();
        place.moveRight(right);
        button->move(place.topLeft());
        right = place.left() - 1;
    }
}

void WindowLayout::showCounts(int downloading, int finished)
{
    m_form.tabWidget->setTabText(0, tr("Downloading(%1)").arg(downloading));
    m_form.tabWidget->setTabText(1, tr("Finished(%1)").arg(finished));
    giveCaptionsRoom(qMax(downloading, finished) >= 100);
}

// Long captions get the room of the tabs' padding, which the style sheet gives by this property.
void WindowLayout::giveCaptionsRoom(bool needed)
{
    QTabBar *tabs = m_form.tabWidget->tabBar();
    if (tabs->property("longCaptions").toBool() == needed)
        return;
    tabs->setProperty("longCaptions", needed);
    tabs->style()->unpolish(tabs);
    tabs->style()->polish(tabs);
}
