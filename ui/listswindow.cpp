#include "listswindow.h"

#include "joblists.h"
#include "ui_mainwindow.h"

#include <QResizeEvent>
#include <QStyle>
#include <QTabBar>

ListsWindow::ListsWindow(QWidget *parent)
    : QMainWindow(parent)
    , m_ui(std::make_unique<Ui::MainWindow>())
{
}

ListsWindow::~ListsWindow() = default;

void ListsWindow::buildForm(DownloaderManager &manager, Options &options, const QColor &themeColor)
{
    m_ui->setupUi(this);
    m_ui->listViewDownloading->init(manager, options, themeColor);
    m_ui->listViewFinished->init(manager, options, themeColor);
    m_lists =
        std::make_unique<JobLists>(manager, *m_ui->listViewDownloading, *m_ui->listViewFinished);

    const auto onClick = [this](QPushButton *button, void (ListsWindow::*slot)()) {
        connect(button, &QPushButton::clicked, this, slot);
    };
    onClick(m_ui->btnStart, &ListsWindow::onStart);
    onClick(m_ui->btnPause, &ListsWindow::onPause);
    onClick(m_ui->btnDownloadDelete, &ListsWindow::onDownloadDelete);
    connect(m_ui->listViewDownloading, &QTableWidget::itemSelectionChanged, this,
            &ListsWindow::onDownloadListSelectionChanged);
    onClick(m_ui->btnPlay, &ListsWindow::onPlay);
    onClick(m_ui->btnFinishedDelete, &ListsWindow::onFinishedDelete);
    onClick(m_ui->btnRename, &ListsWindow::onRename);
    connect(m_ui->listViewFinished, &QTableWidget::itemSelectionChanged, this,
            &ListsWindow::onFinisedListSelectionChanged);
}

void ListsWindow::onStart()
{
    m_ui->listViewDownloading->onStart();
}

void ListsWindow::onPause()
{
    m_ui->listViewDownloading->onPause();
}

void ListsWindow::onDownloadDelete()
{
    m_ui->listViewDownloading->onDelete();
}

void ListsWindow::onDownloadListSelectionChanged()
{
    const DownloadTableWidget *list = m_ui->listViewDownloading;
    m_ui->btnStart->setEnabled(list->canStart(true));
    m_ui->btnPause->setEnabled(list->canPause(true));
    m_ui->btnDownloadDelete->setEnabled(list->hasSelection());
}

void ListsWindow::onPlay()
{
    m_ui->listViewFinished->onPlay();
}

void ListsWindow::onFinishedDelete()
{
    m_ui->listViewFinished->onDelete();
}

void ListsWindow::onRename()
{
    m_ui->listViewFinished->onRename();
}

void ListsWindow::onFinisedListSelectionChanged()
{
    const FinishedTableWidget *list = m_ui->listViewFinished;
    m_ui->btnPlay->setEnabled(list->hasSingleSelection());
    m_ui->btnRename->setEnabled(list->hasSingleSelection());
    m_ui->btnFinishedDelete->setEnabled(list->hasSelection());
}

void ListsWindow::focusFirstButton()
{
    QPushButton *first =
        m_ui->tabWidget->currentIndex() == 0 ? m_ui->btnNewDownload : m_ui->btnOpenFolder;
    first->setFocus(Qt::OtherFocusReason);
}

void ListsWindow::fillLists()
{
    m_lists->fillViews();
}

void ListsWindow::updateLists()
{
    m_lists->updateViews();
    showCounts();
    // A selected job may have ended by itself.
    onDownloadListSelectionChanged();
}

void ListsWindow::showCounts()
{
    const int downloading = m_ui->listViewDownloading->rowCount();
    const int finished = m_ui->listViewFinished->rowCount();
    m_ui->tabWidget->setTabText(0, tr("Downloading(%1)").arg(downloading));
    m_ui->tabWidget->setTabText(1, tr("Finished(%1)").arg(finished));
    giveCaptionsRoom(qMax(downloading, finished) >= 100);
}

// Long captions get the room of the tabs' padding, which the style sheet gives by this property.
void ListsWindow::giveCaptionsRoom(bool needed)
{
    QTabBar *tabs = m_ui->tabWidget->tabBar();
    if (tabs->property("longCaptions").toBool() == needed)
        return;
    tabs->setProperty("longCaptions", needed);
    tabs->style()->unpolish(tabs);
    tabs->style()->polish(tabs);
}

void ListsWindow::place(const QSize &window)
{
    m_ui->tabWidget->resize(window);
    const QSize list(window.width() - m_margins.left() - m_margins.right(),
                     window.height() - m_margins.top() - m_margins.bottom());
    m_ui->listViewDownloading->place(QRect(m_ui->listViewDownloading->pos(), list));
    m_ui->listViewFinished->place(QRect(m_ui->listViewFinished->pos(), list));

    // Where the tabs do not begin.
    int taken = 11;
    for (QPushButton *button : {m_ui->btnAbout, m_ui->btnHelp, m_ui->btnSettings}) {
        QRect place = button->geometry();
        if (isRightToLeft())
            place.moveLeft(taken);
        else
            place.moveRight(window.width() - taken);
        button->move(place.topLeft());
        taken += place.width();
    }
}

void ListsWindow::resizeEvent(QResizeEvent *event)
{
    QMainWindow::resizeEvent(event);
    place(event->size());
}
