#include "appinfo.h"

#include "instance.h"
#include "product.h"
#include "texts.h"

#include <QUrl>

// The environment wins over the build, so that one build can be tried against another site.
static QString hostSetting(const char *variable, const QString &builtIn)
{
    const QString value = qEnvironmentVariable(variable).trimmed();
    return (value.isEmpty() ? builtIn : value).toLower();
}

// HOST, HOST:PORT, or one of them with the scheme in front.
static QString serverAddress(QString host)
{
    while (host.endsWith(QLatin1Char('/')))
        host.chop(1);
    return host.startsWith(QLatin1String("https://"))
               ? host
               : ensurePrefix(host, QStringLiteral("http://"));
}

AppInfo::AppInfo()
    : title(product::title())
    , productName(product::name())
    , build(QStringLiteral("Build 438"))
    , versionText(product::name() + QLatin1Char(' ') + product::version())
    , helpUrl(product::helpUrl())
    , instanceId(QStringLiteral("{C4440C0A-8250-4e4e-BC6F-DDBCA47E530E}"))
    , themeColor(89, 93, 129)
    , webSite(QStringLiteral("https://www.quarnitek.example/reelkeeper"))
    , supportEmail(QStringLiteral("support@quarnitek.example"))
    , secureHosts(SecureHosts::fromText(
          hostSetting("REELKEEPER_SECURE_HOSTS", QStringLiteral(REELKEEPER_SECURE_HOSTS))))
    , certificateFile(qEnvironmentVariable("REELKEEPER_CA_FILE"))
{
    supportedHosts << hostSetting("REELKEEPER_SITE_HOST", QStringLiteral(REELKEEPER_SITE_HOST));
    profileListUrl = serverAddress(hostSetting("REELKEEPER_UPDATE_HOST",
                                               QStringLiteral(REELKEEPER_UPDATE_HOST))) +
                     QStringLiteral("/reelkeeper/Profile.xml");
}

AppInfo *AppInfo::instance()
{
    return ProcessInstance<AppInfo>::get();
}

void AppInfo::destroyInstance()
{
    ProcessInstance<AppInfo>::destroy();
}

bool AppInfo::isSupportedUrl(const QString &text) const
{
    return secureHosts.cover(text) ||
           supportedHosts.contains(QUrl(ensurePrefix(text, QStringLiteral("http://"))).host());
}
