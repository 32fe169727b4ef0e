#include "siteprofile.h"

#include "xmlattribute.h"

#include <QDomDocument>
#include <QFile>
#include <QStringList>
#include <QXmlStreamReader>

namespace {
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

// The document's nodes are made and deleted by recursion: one that is nested deeply enough would
// end the program, at each of its starts.
bool isShallow(const QByteArray &xml, int *line, QString *error)
{
    constexpr int deepest = 100;
    QXmlStreamReader reader(xml);
    reader.setNamespaceProcessing(false); // the document does not look at them either
    int depth = 0;
    for (; !reader.atEnd() && depth <= deepest; reader.readNext())
        depth += int(reader.isStartElement()) - int(reader.isEndElement());
    *line = int(reader.lineNumber());
    *error = depth > deepest ? QStringLiteral("nested deeper than %1 elements").arg(deepest)
                             : reader.errorString();
    return reader.atEnd() && !reader.hasError();
}
} // namespace

SiteProfile::Error SiteProfile::read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? read(file.readAll())
                                          : fail(CannotOpen, 0, file.errorString());
}

SiteProfile::Error SiteProfile::read(const QByteArray &xml)
{
    *this = SiteProfile();
    QDomDocument document;
    int line = 0;
    QString error;
    if (!isShallow(xml, &line, &error) || !document.setContent(xml, &error, &line))
        return fail(NotWellFormed, line, QStringLiteral("not well-formed, ") + error);
    bool serverRead = false;
    const QDomNode root = document.documentElement();
    for (QDomNode node = root.firstChild(); !node.isNull(); node = node.nextSibling()) {
        Error error = NoError;
        if (node.nodeName() == QLatin1String("js")) {
            error = readServer(node);
            serverRead = true;
        } else if (node.nodeName() == QLatin1String("sites")) {
            error = readSites(node);
        }
        if (error != NoError)
            return error;
    }
    return serverRead ? NoError : fail(NoServer, 0, QStringLiteral("no js element"));
}

SiteProfile::Error SiteProfile::fail(Error error, int line, const QString &text)
{
    m_errorText = line > 0 ? QStringLiteral("line %1: %2").arg(line).arg(text) : text;
    return error;
}

int SiteProfile::load(const QString &path)
{
    const Error error = read(path);
    return error == NoError ? version : error;
}

SiteProfile::Error SiteProfile::readServer(const QDomNode &node)
{
    QString versionText;
    QString sizeText;
    if (!getAttribute(node, QStringLiteral("version"), &versionText) ||
        !getAttribute(node, QStringLiteral("size"), &sizeText) ||
        !getAttribute(node, QStringLiteral("path"), &serverPath))
        return fail(AttributeMissing, node.lineNumber(),
                    QStringLiteral("js lacks version, size or path"));
    version = versionText.toInt();
    size = sizeText.toInt();
    return NoError;
}

SiteProfile::Error SiteProfile::readSites(const QDomNode &node)
{
    for (QDomNode site = node.firstChild(); !site.isNull(); site = site.nextSibling()) {
        const Error error = site.nodeName() == QLatin1String("domain") ? readDomain(site) : NoError;
        if (error != NoError)
            return error;
    }
    return domains.isEmpty()
               ? fail(InvalidDomain, node.lineNumber(), QStringLiteral("sites without a domain"))
               : NoError;
}

SiteProfile::Error SiteProfile::readDomain(const QDomNode &node)
{
    SiteDomain domain;
    if (!getAttribute(node, QStringLiteral("name"), &domain.name))
        return fail(InvalidDomain, node.lineNumber(), QStringLiteral("a domain without a name"));
    for (QDomNode child = node.firstChild(); !child.isNull(); child = child.nextSibling()) {
        ScriptFileEntry entry;
        if (!getAttribute(child, QStringLiteral("des"), &entry.description) ||
            !getAttribute(child, QStringLiteral("name"), &entry.name))
            return fail(InvalidDomain, child.lineNumber(),
                        QStringLiteral("a domain holds %1, which is no file with des and name")
                            .arg(child.nodeName()));
        entry.name.remove(QLatin1Char(' '));
        if (!staysInFolder(entry.name))
            return fail(
                UnsafeName, child.lineNumber(),
                QStringLiteral("the name %1 would leave the script folder").arg(entry.name));
        domain.files.append(entry);
    }
    if (domain.files.isEmpty())
        return fail(InvalidDomain, node.lineNumber(), QStringLiteral("a domain without a file"));
    domains.append(domain);
    return NoError;
}

bool SiteProfile::downloadScripts(const QString &dir, const Download &download) const
{
    for (const SiteDomain &domain : domains) {
        for (const ScriptFileEntry &entry : domain.files) {
            if (!download(serverPath + entry.name, dir + entry.name))
                return false;
        }
    }
    return true;
}

bool SiteProfile::isInstalled(const QString &dir) const
{
    for (const SiteDomain &domain : domains) {
        for (const ScriptFileEntry &entry : domain.files) {
            if (!QFile::exists(dir + entry.name))
                return false;
        }
    }
    return true;
}
