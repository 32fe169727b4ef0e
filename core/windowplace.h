#pragma once

class QPoint;
class QSize;
class QWidget;

enum class WindowPlace {
    Inside,    // wholly on its screen
    Reachable, // as it is, while the title bar can be grasped
};

// Gives a window a place and size, in pixels, that a person can use: no larger than its screen.
// What fits nowhere goes to the primary screen.
void placeWindow(QWidget *window, const QPoint &position, const QSize &size, WindowPlace place);
