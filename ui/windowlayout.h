#pragma once

#include <QCoreApplication>
#include <QMargins>

class QSize;

namespace Ui {
class MainWindow;
}

// Where the things of the main window stand, and what its tabs say.
class WindowLayout final
{
    Q_DECLARE_TR_FUNCTIONS(MainWindow)

public:
    explicit WindowLayout(Ui::MainWindow &form); // which must outlive it

    void place(const QSize &window); // everything that follows the window's size
    void showCounts(int downloading, int finished);

private:
    void giveCaptionsRoom(bool needed);

    Ui::MainWindow &m_form;
    const QMargins m_margins{7, 43, 13, 52}; // around both lists
};
