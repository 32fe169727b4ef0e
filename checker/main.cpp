#include "manifestcheck.h"
#include "names.h"
#include "report.h"
#include "scriptcheck.h"

#include "appinfo.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "siteaccess.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>
#include <QUrl>

namespace {
enum ExitCode { Good = 0, Failed = ScriptCheck::failed, NotChecked = 2 };

int refuse(const QString &text)
{
    complain(text);
    return NotChecked;
}

int checkScript(const QString &script, const QString &page, const QString &address, qint64 limit)
{
    const SecureHosts secureHosts = AppInfo().secureHosts;
    const SiteAccess access = siteAccess(address, secureHosts);
    if (address.startsWith(QLatin1String("https://")) && !secureHosts.cover(address))
        return refuse(QStringLiteral("no https for %1: the secure hosts are %2")
                          .arg(QUrl(address).host(), secureHosts.names.join(QLatin1Char(','))));
    if (!address.isEmpty() &&
        (!access.looksRight(address) || QUrl(access.address).host().isEmpty()))
        return refuse(QStringLiteral("%1 is no address that the program takes").arg(address));
    QString why;
    readUsable(script, &why);
    if (!why.isEmpty())
        return refuse(QStringLiteral("the script %1 %2").arg(script, why));
    const QByteArray bytes = readUsable(page, &why);
    if (!why.isEmpty())
        return refuse(QStringLiteral("the page %1 %2").arg(page, why));
    Options options; // as they are before anything is loaded: nothing of the person's is read
    OutputProfileManager profiles(options);
    if (!profiles.load())
        return refuse(QStringLiteral("Profiles.xml beside the program cannot be read"));
    return ScriptCheck(script, limit).run(bytes, access, profiles) ? Good : Failed;
}

int checkManifest(const QString &folder)
{
    if (!QFileInfo(folder).isDir())
        return refuse(QStringLiteral("there is no folder %1").arg(folder));
    if (!QFileInfo::exists(folder + QStringLiteral("/Profile.xml")))
        return refuse(QStringLiteral("there is no Profile.xml in %1").arg(folder));
    return ManifestCheck(folder).run() ? Good : Failed;
}

// A script may bring down the engine, and itself when nothing else can end it: the run has a
// process of its own.
int checkApart(const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(QCoreApplication::applicationFilePath(), arguments);
    process.waitForFinished(-1);
    if (process.error() == QProcess::FailedToStart)
        return refuse(QStringLiteral("cannot run itself: ") + process.errorString());
    if (process.exitStatus() == QProcess::NormalExit)
        return process.exitCode();
    Report().problem(QStringLiteral("the script brings down the engine, and the program with it"));
    return Failed;
}
} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("reelkeeper-check"));

    const QCommandLineOption manifestOption(
        QStringLiteral("manifest"), QStringLiteral("Checks a folder that is to be published."),
        QStringLiteral("FOLDER"));
    const QCommandLineOption urlOption(
        QStringLiteral("url"), QStringLiteral("Address of the page."), QStringLiteral("ADDRESS"));
    QCommandLineOption limitOption(QStringLiteral("limit"), QString(), QStringLiteral("MS"),
                                   QStringLiteral("10000"));
    QCommandLineOption hereOption(QStringLiteral("here")); // in this process
    limitOption.setFlags(QCommandLineOption::HiddenFromHelp);
    hereOption.setFlags(QCommandLineOption::HiddenFromHelp);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Runs a site script and its companions over a saved page.\n"
                       "Exit code 0: good, 1: something has to be mended, 2: not checked."));
    const QCommandLineOption helpOption = parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("SCRIPT"), QStringLiteral("Site script."),
                                 QStringLiteral("[SCRIPT"));
    parser.addPositionalArgument(QStringLiteral("PAGE"), QStringLiteral("Saved page."),
                                 QStringLiteral("PAGE]"));
    parser.addOptions({manifestOption, urlOption, limitOption, hereOption});

    QStringList arguments = QCoreApplication::arguments();
    if (!parser.parse(arguments))
        return refuse(parser.errorText());
    if (parser.isSet(helpOption))
        parser.showHelp(Good);
    const QStringList files = parser.positionalArguments();
    const QString address = parser.value(urlOption);
    bool limitOk = false;
    const qint64 limit = parser.value(limitOption).toUInt(&limitOk);
    if (!limitOk || files.size() != (parser.isSet(manifestOption) ? 0 : 2))
        return refuse(QStringLiteral("wrong arguments, see --help"));

    if (parser.isSet(manifestOption))
        return checkManifest(parser.value(manifestOption));
    if (parser.isSet(hereOption))
        return checkScript(files.at(0), files.at(1), address, limit);
    arguments[0] = QStringLiteral("--here");
    return checkApart(arguments);
}
