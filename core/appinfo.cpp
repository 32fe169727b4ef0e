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

AppInfo::AppInfo()
    : title(product::title())
    , productName(product::name())
    , build(QStringLiteral("Build 438"))
    , versionText(QStringLiteral("Reelkeeper 1.0"))
    , helpUrl(QStringLiteral("https://www.quarnitek.example/reelkeeper/help"))
    , instanceId(QStringLiteral("{C4440C0A-8250-4e4e-BC6F-DDBCA47E530E}"))
    , themeColor(89, 93, 129)
    , webSite(QStringLiteral("https://www.quarnitek.example/reelkeeper"))
    , supportEmail(QStringLiteral("support@quarnitek.example"))
{
    supportedHosts << hostSetting("REELKEEPER_SITE_HOST", QStringLiteral(REELKEEPER_SITE_HOST));
    profileListUrl = QStringLiteral("http://") +
                     hostSetting("REELKEEPER_UPDATE_HOST", QStringLiteral(REELKEEPER_UPDATE_HOST)) +
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
    return supportedHosts.contains(QUrl(ensurePrefix(text, QStringLiteral("http://"))).host());
}
