#include "demosite.h"
#include "demovideos.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QSocketNotifier>
#include <QStandardPaths>

#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace {
int signalPipe[2] = {-1, -1};

void onSignal(int)
{
    const char byte = 0;
    if (write(signalPipe[1], &byte, 1) != 1)
        _exit(1);
}

int fail(const QString &message)
{
    std::fprintf(stderr, "reelkeeper-demo: %s\n", qPrintable(message));
    return 1;
}
} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("reelkeeper-demo"));

    const QString cache = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
    const QCommandLineOption portOption(QStringLiteral("port"),
                                        QStringLiteral("Port to listen on."), QStringLiteral("N"),
                                        QStringLiteral("8438"));
    const QCommandLineOption mediaOption(
        QStringLiteral("media"), QStringLiteral("Folder the videos are made and kept in."),
        QStringLiteral("DIR"), cache + QStringLiteral("/reelkeeper-demo"));
    const QCommandLineOption scriptsOption(
        QStringLiteral("scripts"), QStringLiteral("Folder with the manifest and the site scripts."),
        QStringLiteral("DIR"),
        QCoreApplication::applicationDirPath() + QStringLiteral("/site-scripts"));
    const QCommandLineOption rateOption(
        QStringLiteral("rate"), QStringLiteral("Bytes per second of each stream, 0: no limit."),
        QStringLiteral("BYTES_PER_SECOND"), QStringLiteral("300000"));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Reelkeeper's bundled site: watch pages, streams and the update server."));
    parser.addHelpOption();
    parser.addOptions({portOption, mediaOption, scriptsOption, rateOption});
    parser.process(application);

    bool portOk = false;
    bool rateOk = false;
    const quint16 port = parser.value(portOption).toUShort(&portOk);
    const qint64 rate = parser.value(rateOption).toLongLong(&rateOk);
    if (!portOk || !rateOk || rate < 0 || !parser.positionalArguments().isEmpty())
        return fail(QStringLiteral("wrong arguments, see --help"));

    const QString scripts = parser.value(scriptsOption);
    if (!QFile::exists(scripts + QStringLiteral("/Profile.xml")))
        return fail(QStringLiteral("there is no Profile.xml in %1").arg(scripts));
    const QString error = makeDemoVideos(parser.value(mediaOption));
    if (!error.isEmpty())
        return fail(error);

    if (pipe(signalPipe) != 0)
        return fail(QStringLiteral("cannot make a pipe"));
    QSocketNotifier notifier(signalPipe[0], QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &application, &QCoreApplication::quit);
    std::signal(SIGTERM, onSignal);
    std::signal(SIGINT, onSignal);

    DemoSite site(parser.value(mediaOption), scripts, rate);
    if (!site.listen(port))
        return fail(QStringLiteral("port %1 of 127.0.0.1 is taken").arg(port));
    std::printf("Serving %s until it is ended\n", qPrintable(site.url()));
    std::fflush(stdout);
    return application.exec();
}
