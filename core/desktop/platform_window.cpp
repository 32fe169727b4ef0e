#include "platform.h"

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QWidget>
#include <QWindow>

void platform::activateWindow(QWidget *window)
{
    // Only this state goes: a window that was maximised before comes back so.
    window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
    window->show();
    window->raise();
    window->activateWindow();
    // Hidden only a moment ago: the focus has not been taken from it yet, so nothing will announce
    // that it is active, and its widgets would take keys without having the focus.
    if (window->windowHandle() && window->windowHandle()->isActive() && !window->isActiveWindow())
        QApplication::setActiveWindow(window);
}

bool platform::clipboardNeedsFocus()
{
    return QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
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
