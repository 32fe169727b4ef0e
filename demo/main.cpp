#include "demosite.h"
#include "demovideos.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFileInfo>
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

QCommandLineOption option(const char *name, const char *text, const char *value,
                          const QString &builtIn = QString())
{
    return QCommandLineOption(QLatin1String(name), QLatin1String(text), QLatin1String(value),
                              builtIn);
}

// What the command line says.
struct Settings
{
    QString media;
    QString scripts;
    QString pages;       // empty: none
    QString certificate; // empty: plain only
    QString key;
    quint16 port = 0;
    quint16 securePort = 0;
    quint16 streamPort = 0;
    qint64 rate = 0; // bytes per second

    QString read(const QCoreApplication &application); // what is wrong, empty when nothing is
};

QString Settings::read(const QCoreApplication &application)
{
    const QCommandLineOption options[] = {
        option("port", "Port to listen on.", "N", QStringLiteral("8438")),
        option("media", "Folder the videos are made and kept in.", "DIR",
               QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
                   QStringLiteral("/reelkeeper-demo")),
        option("scripts", "Folder with the manifest and the site scripts.", "DIR",
               QCoreApplication::applicationDirPath() + QStringLiteral("/site-scripts")),
        option("rate", "Bytes per second of each stream, 0: no limit.", "BYTES_PER_SECOND",
               QStringLiteral("300000")),
        option("pages", "Folder with saved pages (*.html, *.htm) to serve under /saved/.", "DIR"),
        option("certificate", "Serve over TLS too, with this certificate (PEM).", "FILE"),
        option("key", "The certificate's key (PEM).", "FILE"),
        option("secure-port", "Port for TLS.", "N", QStringLiteral("8439")),
        option("stream-port", "Port for TLS that secure downloads are sent on to.", "N",
               QStringLiteral("8440")),
    };
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Reelkeeper's bundled site: watch pages, streams and the update server."));
    parser.addHelpOption();
    for (const QCommandLineOption &each : options)
        parser.addOption(each);
    parser.process(application);

    bool ok[4] = {};
    const auto portOf = [&](const char *name, bool *isPort) {
        return parser.value(QLatin1String(name)).toUShort(isPort);
    };
    port = portOf("port", &ok[0]);
    securePort = portOf("secure-port", &ok[1]);
    streamPort = portOf("stream-port", &ok[2]);
    rate = parser.value(QStringLiteral("rate")).toLongLong(&ok[3]);
    media = parser.value(QStringLiteral("media"));
    scripts = parser.value(QStringLiteral("scripts"));
    pages = parser.value(QStringLiteral("pages"));
    certificate = parser.value(QStringLiteral("certificate"));
    key = parser.value(QStringLiteral("key"));
    if (!(ok[0] && ok[1] && ok[2] && ok[3]) || rate < 0 || certificate.isEmpty() != key.isEmpty() ||
        !parser.positionalArguments().isEmpty())
        return QStringLiteral("wrong arguments, see --help");
    if (!QFileInfo::exists(scripts + QStringLiteral("/Profile.xml")))
        return QStringLiteral("there is no Profile.xml in %1").arg(scripts);
    if (parser.isSet(QStringLiteral("pages")) && !QFileInfo(pages).isDir())
        return QStringLiteral("there is no folder %1").arg(pages);
    if (!pages.isEmpty() && PageFolder(pages).names().isEmpty())
        return QStringLiteral("there is no page (*.html, *.htm) in %1").arg(pages);
    return QString();
}
} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("reelkeeper-demo"));

    Settings settings;
    QString error = settings.read(application);
    if (error.isEmpty())
        error = makeDemoVideos(settings.media);
    if (!error.isEmpty())
        return fail(error);

    if (pipe(signalPipe) != 0)
        return fail(QStringLiteral("cannot make a pipe"));
    QSocketNotifier notifier(signalPipe[0], QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &application, &QCoreApplication::quit);
    std::signal(SIGTERM, onSignal);
    std::signal(SIGINT, onSignal);

    DemoSite plain(settings.media, settings.scripts, settings.rate);
    DemoSite secure(settings.media, settings.scripts, settings.rate);
    DemoSite streams(settings.media, settings.scripts, settings.rate);
    const auto start = [&](DemoSite *site, quint16 port) {
        site->setSavedPages(settings.pages);
        if (site->listen(port))
            return true;
        fail(QStringLiteral("port %1 of 127.0.0.1 is taken").arg(port));
        return false;
    };
    if (!start(&plain, settings.port))
        return 1;
    if (!settings.certificate.isEmpty()) {
        for (DemoSite *site : {&streams, &secure}) {
            if (!site->server().setCertificate(settings.certificate, settings.key))
                return fail(QStringLiteral("cannot use the certificate %1 with the key %2")
                                .arg(settings.certificate, settings.key));
        }
        if (!start(&streams, settings.streamPort))
            return 1;
        secure.setStreamSite(streams.url(QString()));
        if (!start(&secure, settings.securePort))
            return 1;
        std::printf("Secure pages at %s, their downloads at %s\n", qPrintable(secure.url()),
                    qPrintable(streams.url()));
    }
    std::printf("Serving %s until it is ended\n", qPrintable(plain.url()));
    std::fflush(stdout);
    return application.exec();
}
