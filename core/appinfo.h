#pragma once

#include "securehosts.h"

#include <QColor>
#include <QString>
#include <QStringList>

// Product strings and fixed addresses. Read-only once the settings have been loaded.
class AppInfo final
{
public:
    // Host names come from the build; the environment variables REELKEEPER_SITE_HOST,
    // REELKEEPER_UPDATE_HOST and REELKEEPER_SECURE_HOSTS override them.
    AppInfo();
    static AppInfo *instance();
    static void destroyInstance();

    // True when the host of the text, read as an http address (the scheme may be missing), is one
    // of supportedHosts, and for the https addresses that secureHosts cover. Any other scheme, all
    // other https addresses included, is not supported.
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
    SecureHosts secureHosts;
    QString certificateFile; // PEM, of certificates to trust beside the system's; may be empty
};
