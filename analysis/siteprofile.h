#pragma once

#include <QString>
#include <QVector>

#include <functional>

class QDomNode;

struct ScriptFileEntry
{
    QString description;
    QString name; // blanks removed
};

struct SiteDomain
{
    QString name;
    QVector<ScriptFileEntry> files;
};

// The manifest of the site scripts that the update server publishes. User-interface thread.
class SiteProfile final
{
public:
    // Reads a manifest; its version, or -1 cannot be opened, -2 not well-formed, -3 a js element
    // lacks an attribute, -4 an invalid domain or none, -5 no js element, -6 a script file's name
    // would leave the script folder, -7 a version that reads as a negative number.
    int load(const QString &path);

    // Fetches every script file into the folder (which ends with a separator); stops at the first
    // failure. Nested event loops run.
    bool downloadScripts(const QString &dir);
    // The same by a download function of the caller's: address, path of the file to write.
    using Download = std::function<bool(const QString &, const QString &)>;
    bool downloadScripts(const QString &dir, const Download &download) const;

    qint32 version = 0;
    qint32 size = 0;
    QString serverPath;
    QVector<SiteDomain> domains;

private:
    int readServer(const QDomNode &node);
    int readDomain(const QDomNode &node);
};
