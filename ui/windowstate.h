#pragma once

class Options;
class QWidget;

namespace Ui {
class MainWindow;
}

// What the settings remember of the main window: place and size, columns, tab, shown or hidden.
class WindowState final
{
public:
    // All must outlive it.
    WindowState(Options &options, QWidget &window, Ui::MainWindow &form);

    // Before the window is shown: one that is moved once its frame is there lands elsewhere. The
    // lists have to have their places in the restored window before their columns come back.
    void restorePlace();
    void restoreColumns();
    void save(); // into the options, which somebody else stores

private:
    Options &m_options;
    QWidget &m_window;
    Ui::MainWindow &m_form;
};
