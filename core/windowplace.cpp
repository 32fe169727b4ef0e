#include "windowplace.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

// The screen on which the title bar of a window can be grasped; null when there is none.
static QScreen *screenOfTitleBar(const QRect &window)
{
    constexpr int titleHeight = 30;
    constexpr int graspableWidth = 100;
    const QRect title(window.topLeft(), QSize(window.width(), titleHeight));
    const QList<QScreen *> screens = QGuiApplication::screens();
    for (QScreen *screen : screens) {
        const QRect seen = screen->availableGeometry().intersected(title);
        if (seen.width() >= qMin(graspableWidth, window.width()) && seen.height() * 2 > titleHeight)
            return screen;
    }
    return nullptr;
}

void placeWindow(QWidget *window, const QPoint &position, const QSize &size)
{
    constexpr int farAway = 100000; // keeps the sums below within an int
    const QSize smallest = window->minimumSize().expandedTo(QSize(200, 150));
    const QPoint place(qBound(-farAway, position.x(), farAway),
                       qBound(-farAway, position.y(), farAway));
    QRect wanted(place, size.boundedTo(QSize(farAway, farAway)).expandedTo(smallest));

    QScreen *screen = screenOfTitleBar(wanted);
    const bool offScreen = !screen;
    if (offScreen)
        screen = QGuiApplication::primaryScreen();
    if (screen) {
        const QRect available = screen->availableGeometry();
        const QSize fitting = wanted.size().boundedTo(available.size()).expandedTo(smallest);
        if (offScreen || fitting != wanted.size()) {
            wanted.setSize(fitting);
            const int right = qMax(available.left(), available.right() + 1 - fitting.width());
            const int bottom = qMax(available.top(), available.bottom() + 1 - fitting.height());
            wanted.moveTo(qBound(available.left(), place.x(), right),
                          qBound(available.top(), place.y(), bottom));
        }
    }
    window->resize(wanted.size());
    window->move(wanted.topLeft());
}
