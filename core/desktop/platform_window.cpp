#include "platform.h"

#include "xstartup.h"

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QTimer>
#include <QWidget>
#include <QWindow>

#include <memory>

static bool isOnWayland()
{
    return QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

QByteArray platform::startToken()
{
    // The toolkit takes the one out of the environment and does not know the other. Programs that
    // are started from here have no share in either.
    const QByteArray startup = qgetenv("DESKTOP_STARTUP_ID");
    const QByteArray activation = qgetenv("XDG_ACTIVATION_TOKEN");
    qunsetenv("XDG_ACTIVATION_TOKEN");
    return startup.isEmpty() ? activation : startup;
}

// A window there cannot ask to be shown or to get the focus, but a new one mostly gets both. A
// dialog above it would not follow, so that it stays where it is then.
static void makeNew(QWidget *window)
{
    if (window->isVisible() && !QApplication::activeWindow() && !QApplication::activeModalWidget())
        window->hide();
}

void platform::activateWindow(QWidget *window, const QByteArray &token)
{
    if (isOnWayland())
        makeNew(window);
    std::unique_ptr<XStartup> startup;
    if (!token.isEmpty() && QGuiApplication::platformName() == QLatin1String("xcb")) {
        startup = std::make_unique<XStartup>(token);
        startup->announce(xcb_window_t(window->winId()));
    }
    // Only this state goes: a window that was maximised before comes back so.
    window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
    window->show();
    window->raise();
    window->activateWindow();
    // Hidden only a moment ago: the focus has not been taken from it yet, so nothing will announce
    // that it is active, and its widgets would take keys without having the focus.
    if (window->windowHandle() && window->windowHandle()->isActive() && !window->isActiveWindow())
        QApplication::setActiveWindow(window);
    if (startup)
        startup->finish(xcb_window_t(window->winId()));
}

namespace {

// A compositor may overhear what is asked of a window that it does not show yet. Nothing tells when
// it does: it is asked once more a moment after the window was told to draw its first picture.
class MinimizedOnceShown final : public QObject
{
public:
    explicit MinimizedOnceShown(QWindow *window)
        : QObject(window)
    {
        window->installEventFilter(this);
    }
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        auto *window = static_cast<QWindow *>(watched);
        if (event->type() != QEvent::Expose || !window->isExposed())
            return false;
        constexpr int moment = 200; // milliseconds
        QTimer::singleShot(moment, window, [window] {
            window->setWindowStates(window->windowStates() | Qt::WindowMinimized);
        });
        window->removeEventFilter(this);
        deleteLater();
        return false;
    }
};

} // namespace

void platform::minimizeWindow(QWidget *window)
{
    const bool isNew = !window->isVisible();
    window->showMinimized();
    if (isNew && isOnWayland())
        new MinimizedOnceShown(window->windowHandle()); // a child of it
}

bool platform::clipboardNeedsFocus()
{
    return isOnWayland();
}

bool platform::browseFolder(QWidget *parent, const QString &title, const QString &initialPath,
                            QString *chosen)
{
    const QString folder = QFileDialog::getExistingDirectory(parent, title, initialPath);
    if (folder.isEmpty())
        return false;
    *chosen = QDir::toNativeSeparators(folder);
    return true;
}
