#include "siteprofile.h"

#include "files.h"
#include "simpledownload.h"
#include "xmlattribute.h"

#include <QDomDocument>
#include <QFile>
#include <QStringList>

namespace {
enum LoadError {
    CannotOpen = -1,
    NotWellFormed = -2,
    AttributeMissing = -3,
    InvalidDomain = -4,
    NoServer = -5,
    UnsafeName = -6,
    NegativeVersion = -7,
};

// The name comes from the network and becomes a path below the script folder.
bool staysInFolder(const QString &name)
{
    for (const QChar c : name) {
        // For the system a name ends at a NUL.
        if (c == QLatin1Char('\\') || c == QLatin1Char(':') || c.category() == QChar::Other_Control)
            return false;
    }
    const QStringList parts = name.split(QLatin1Char('/'));
    for (const QString &part : parts) {
        if (part.isEmpty() || part == QLatin1String(".") || part == QLatin1String(".."))
            return false;
    }
    return true;
}
} // namespace

int SiteProfile::load(const QString &path)
{
    *this = SiteProfile();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return CannotOpen;
    QDomDocument document;
    const bool wellFormed = document.setContent(&file);
    file.close();
    if (!wellFormed)
        return NotWellFormed;

    bool serverRead = false;
    const QDomNode root = document.documentElement();
    for (QDomNode node = root.firstChild(); !node.isNull(); node = node.nextSibling()) {
        if (node.nodeName() == QLatin1String("js")) {
            const int result = readServer(node);
            if (result != 0)
                return result;
            serverRead = true;
        } else if (node.nodeName() == QLatin1String("sites")) {
            for (QDomNode site = node.firstChild(); !site.isNull(); site = site.nextSibling()) {
                const int result =
                    site.nodeName() == QLatin1String("domain") ? readDomain(site) : 0;
                if (result != 0)
                    return result;
            }
            if (domains.isEmpty())
                return InvalidDomain;
        }
    }
    if (!serverRead)
        return NoServer;
    return version < 0 ? NegativeVersion : version;
}

int SiteProfile::readServer(const QDomNode &node)
{
    QString versionText;
    QString sizeText;
    if (!getAttribute(node, QStringLiteral("version"), &versionText) ||
        !getAttribute(node, QStringLiteral("size"), &sizeText) ||
        !getAttribute(node, QStringLiteral("path"), &serverPath))
        return AttributeMissing;
    version = versionText.toInt();
    size = sizeText.toInt();
    return 0;
}

int SiteProfile::readDomain(const QDomNode &node)
{
    SiteDomain domain;
    if (!getAttribute(node, QStringLiteral("name"), &domain.name))
        return InvalidDomain;
    for (QDomNode child = node.firstChild(); !child.isNull(); child = child.nextSibling()) {
        ScriptFileEntry entry;
        if (!getAttribute(child, QStringLiteral("des"), &entry.description) ||
            !getAttribute(child, QStringLiteral("name"), &entry.name))
            return InvalidDomain;
        entry.name.remove(QLatin1Char(' '));
        if (!staysInFolder(entry.name))
            return UnsafeName;
        domain.files.append(entry);
    }
    if (domain.files.isEmpty())
        return InvalidDomain;
    domains.append(domain);
    return 0;
}

bool SiteProfile::downloadScripts(const QString &dir)
{
    return downloadScripts(dir, [](const QString &url, const QString &path) {
        SimpleDownload download;
        return download.download(url, path);
    });
}

bool SiteProfile::downloadScripts(const QString &dir, const Download &download) const
{
    for (const SiteDomain &domain : domains) {
        for (const ScriptFileEntry &entry : domain.files) {
            const QString path = dir + entry.name;
            // A name may say a folder below this one.
            if (entry.name.contains(QLatin1Char('/')) && !ensureDir(absolutePathOf(path)))
                return false;
            if (!download(serverPath + entry.name, path))
                return false;
        }
    }
    return true;
}
