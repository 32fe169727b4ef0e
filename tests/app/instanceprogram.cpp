#include "appinfo.h"
#include "options.h"
#include "singleapplication.h"

#include <QFile>

#include <cstdio>
#include <unistd.h>

static void say(const QString &text)
{
    std::printf("%s\n", qPrintable(text));
    std::fflush(stdout);
}

// A program of which one runs: it says what it hears. With an argument, it sends that as message;
// "hold" keeps the segment's lock, "child" leaves a child that was never started. Its
// end takes until its input is closed.
int main(int argc, char **argv)
{
    const QString title = AppInfo::instance()->title;
    platform::holdNamedMutex(AppInfo::instance()->instanceId);
    const QString argument = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("1");
    SingleApplication application(argc, argv, title,
                                  Options::appDataPath() + QStringLiteral("list"));
    if (application.isRunning())
        return application.sendMessage(argument, platform::startToken()) ? 0 : 1;
    QObject::connect(&application, &SingleApplication::messageAvailable, &application,
                     [](const QString &message, const QByteArray &token) {
                         say(QStringLiteral("message ") + message + QString::fromUtf8(token));
                     });
    QObject::connect(&application, &SingleApplication::queryEndSession, &application, []() {
        say(QStringLiteral("end"));
        QCoreApplication::quit();
    });
    platform::ProcessLock lock(platform::instanceSegmentKey(title));
    if (argument == QLatin1String("hold"))
        lock.lock(0);
    if (argument == QLatin1String("child") && fork() == 0)
        _exit(static_cast<int>(sleep(30)));
    say(QStringLiteral("first"));
    const int code = QApplication::exec();
    say(QStringLiteral("ending"));
    QFile input;
    if (input.open(stdin, QIODevice::ReadOnly))
        input.readAll();
    return code;
}
