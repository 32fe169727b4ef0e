#pragma once

#include <QTimer>
#include <QVariantList>

class Options;
class QWidget;

namespace Ui {
class MainWindow;
}

// What the settings remember of the main window: place and size, columns, tab, shown or hidden. A
// session can end without a word, so a change of these, or of a setting, is on disk within seconds.
class WindowState final
{
    Q_DISABLE_COPY(WindowState)

public:
    // All must outlive it.
    WindowState(Options &options, QWidget &window, Ui::MainWindow &form);

    // Before the window is shown: one that is moved once its frame is there lands elsewhere. The
    // lists have to have their places in the restored window before their columns come back.
    void restorePlace();
    void restoreColumns();

    void watch();  // from now on changes are saved, at most once a second
    void save();   // all of it, now
    void finish(); // the same for the last time: what comes is the closing of the window

private:
    QVariantList frame() const; // what stands beside the settings: place, size, columns
    void noteWindow();
    void saveFrame();
    void saveChanges();

    Options &m_options;
    QWidget &m_window;
    Ui::MainWindow &m_form;
    QTimer m_watch;
    QVariantList m_seenFrame;
    QVariantList m_savedFrame;
};
