#pragma once

#include "report.h"
#include "siteprofile.h"

#include <QString>
#include <QStringList>

class CJSLib;

// Looks at a folder as an update would that found it on the server.
class ManifestCheck final
{
public:
    // The folder has a manifest; it may be damaged.
    explicit ManifestCheck(const QString &folder);

    // True when there is nothing to be mended.
    bool run();

private:
    void tellServer(const QByteArray &xml);
    void tellFile(const QString &name);
    void tellName(const QString &name, const CJSLib &scripts);
    void tellUnlisted();

    const QString m_folder; // ends with a separator
    Report m_report;
    SiteProfile m_profile;
    QStringList m_names; // of all files, as the manifest lists them
    qint64 m_size = 0;   // bytes of all that are there
};
