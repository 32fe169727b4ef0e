#pragma once

#include <QColor>
#include <QString>
#include <QStringList>

// Product strings and fixed addresses. Read-only after construction.
class AppInfo final
{
public:
    // Host names come from the build; the environment variables REELKEEPER_SITE_HOST and
    // REELKEEPER_UPDATE_HOST override them.
    AppInfo();
    static AppInfo *instance();
    static void destroyInstance();

    // True when the host of the text, read as an http address (the scheme may be missing), is one
    // of supportedHosts. Any other scheme, https included, is not supported.
    bool isSupportedUrl(const QString &text) const;

    QString title;       // "Corvane Reelkeeper"
    QString productName; // "Reelkeeper"
    QString build;
    QString versionText;
    QString helpUrl;
    QString profileListUrl; // address of the site-script manifest
    QString instanceId;
    QColor themeColor; // fill of selected rows
    QStringList supportedHosts;
    QString webSite;      // address shown in the about box
    QString supportEmail; // address shown in the about box
};
