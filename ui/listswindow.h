#pragma once

#include <QMainWindow>

#include <memory>

class DownloaderManager;
class JobLists;
class Options;
class QColor;

namespace Ui {
class MainWindow;
}

// The main window's form: the two lists on their tabs, the buttons that act on them, and where all
// of it stands. What the program does besides is its heir's.
class ListsWindow : public QMainWindow
{
    Q_OBJECT
    Q_DISABLE_COPY(ListsWindow)

public:
    explicit ListsWindow(QWidget *parent);
    ~ListsWindow() override;

public slots:
    void onStart();
    void onPause();
    void onDownloadDelete();
    void onDownloadListSelectionChanged();
    void onPlay();
    void onFinishedDelete();
    void onRename();
    void onFinisedListSelectionChanged();

protected:
    // Before anything else is asked of the window. All must outlive it.
    void buildForm(DownloaderManager &manager, Options &options, const QColor &themeColor);
    Ui::MainWindow &form() { return *m_ui; }
    void place(const QSize &window); // everything that follows the window's size
    void fillLists();                // once, with the stored jobs
    void updateLists();              // what changed of the jobs, and what follows from it
    void focusFirstButton();

    void resizeEvent(QResizeEvent *event) override;

private:
    void showCounts(); // on the tabs
    void giveCaptionsRoom(bool needed);

    std::unique_ptr<Ui::MainWindow> m_ui;
    std::unique_ptr<JobLists> m_lists;
    const QMargins m_margins{7, 43, 13, 52}; // around both lists
};
