#include "windowplace.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

// What a window manager puts above a window, in pixels, more or less.
static constexpr int titleHeight = 30;

// The screen on which the title bar of a window can be grasped; null when there is none.
static QScreen *screenOfTitleBar(const QRect &window)
{
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

void placeWindow(QWidget *window, const QPoint &position, const QSize &size, WindowPlace place)
{
    constexpr int farAway = 100000; // keeps the sums below within an int
    const QSize smallest = window->minimumSize().expandedTo(QSize(200, 150));
    QRect wanted(
        QPoint(qBound(-farAway, position.x(), farAway), qBound(-farAway, position.y(), farAway)),
        size.boundedTo(QSize(farAway, farAway)).expandedTo(smallest));

    QScreen *screen = screenOfTitleBar(wanted);
    bool moves = place == WindowPlace::Inside || !screen;
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    const QRect available =
        screen ? screen->availableGeometry().adjusted(0, 0, 0, -titleHeight) : wanted;
    const QSize fitting = wanted.size().boundedTo(available.size()).expandedTo(smallest);
    moves = moves || fitting != wanted.size();
    wanted.setSize(fitting);
    if (moves) {
        const QPoint last =
            available.bottomRight() - QPoint(fitting.width(), fitting.height()) + QPoint(1, 1);
        wanted.moveTo(qMax(available.left(), qMin(wanted.left(), last.x())),
                      qMax(available.top(), qMin(wanted.top(), last.y())));
    }
    window->resize(wanted.size());
    window->move(wanted.topLeft());
}
