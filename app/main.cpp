#include "appinfo.h"
#include "mainwindow.h"
#include "options.h"
#include "platform.h"
#include "product.h"
#include "resources.h"
#include "singleapplication.h"

#include <QFile>
#include <QIcon>
#include <QPalette>

#include <memory>

static int run(SingleApplication &application, bool show)
{
    // The session may end while the start-up still runs its dialogs: that ends them.
    const QMetaObject::Connection starting = QObject::connect(
        &application, &SingleApplication::queryEndSession, &application, &QCoreApplication::quit);
    const auto window =
        std::make_unique<MainWindow>(show, nullptr, [&] { return application.isSessionEnding(); });
    QObject::disconnect(starting);
    if (window->exitCode() != 0 || application.isSessionEnding())
        return window->exitCode();

    QObject::connect(&application, &SingleApplication::messageAvailable, window.get(),
                     &MainWindow::onInstanceCheck);
    QObject::connect(&application, &SingleApplication::saveRequested, window.get(),
                     &MainWindow::onSaveRequest);
    QObject::connect(&application, &SingleApplication::queryEndSession, window.get(),
                     &MainWindow::onEndSession);
    return application.exec();
}

// The style sheet's look is a light one: on a dark desktop the toolkit's own colours would put dark
// ticks on dark boxes beside it.
static QPalette lightColors()
{
    const QColor ground(239, 239, 239);
    QPalette colors(ground, ground);
    colors.setColor(QPalette::Highlight, AppInfo::instance()->themeColor);
    colors.setColor(QPalette::HighlightedText, Qt::white);
    colors.setColor(QPalette::ToolTipBase, QColor(255, 255, 220));
    colors.setColor(QPalette::ToolTipText, Qt::black);
    return colors;
}

int main(int argc, char **argv)
{
    const QString title = AppInfo::instance()->title;
    platform::holdNamedMutex(AppInfo::instance()->instanceId);
    platform::allowManyOpenFiles();

    const QByteArray token = platform::startToken();
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    // As large as the desktop says, not the next whole number.
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(
        Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    SingleApplication application(argc, argv, title,
                                  Options::appDataPath() + QStringLiteral("Task.dat"));
    if (application.isRunning()) {
        application.sendMessage(QStringLiteral("1"), token);
        return 0;
    }
    // Only the main window ends the program, and it may be hidden while a dialog closes.
    QApplication::setQuitOnLastWindowClosed(false);
    const bool show = application.arguments().value(1) != QLatin1String("-hide");

    initResources();
    QIcon icon;
    for (const int size : {16, 32, 48, 256})
        icon.addFile(QStringLiteral(":/icons/reelkeeper-%1.png").arg(size));
    QApplication::setWindowIcon(icon);
    // Without its style sheet the program looks plain, no more.
    QFile styleSheet(QStringLiteral(":/style/Shared/style/layout.qss"));
    if (styleSheet.open(QIODevice::ReadOnly)) {
        QApplication::setPalette(lightColors());
        application.setStyleSheet(QString::fromUtf8(styleSheet.readAll()));
    }
    styleSheet.close();

    QCoreApplication::setOrganizationName(product::maker());
    QCoreApplication::setApplicationName(title);
    return run(application, show);
}
