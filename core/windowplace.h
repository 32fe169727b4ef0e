#pragma once

class QPoint;
class QSize;
class QWidget;

// Gives a window a stored place and size, in pixels, so that a person can use it: no larger than
// its screen, and its title bar within reach. A place off every screen becomes one on the primary
// screen.
void placeWindow(QWidget *window, const QPoint &position, const QSize &size);
