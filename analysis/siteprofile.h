#pragma once

#include <QByteArray>
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

// The manifest of the site scripts that the update server publishes.
class SiteProfile final
{
public:
    enum Error {
        NoError = 0,
        CannotOpen = -1,
        NotWellFormed = -2,
        AttributeMissing = -3, // of a js element
        InvalidDomain = -4,    // or none
        NoServer = -5,         // no js element
        UnsafeName = -6,       // a script file's name would leave the script folder
    };

    // Reads a manifest; the fields below are whole only without an error.
    Error read(const QString &path);
    Error read(const QByteArray &xml);
    // Where the last reading found its error and what it is, for whoever writes a manifest.
    const QString &errorText() const { return m_errorText; }
    // The same as one number: the version, which may be any, or the error. Who has to tell the two
    // apart asks read().
    int load(const QString &path);

    // Has every script file fetched into the folder (which ends with a separator) by a function
    // that is given the file's address and path; stops at the first that fails.
    using Download = std::function<bool(const QString &, const QString &)>;
    bool downloadScripts(const QString &dir, const Download &download) const;

    // True when every script file lies in the folder.
    bool isInstalled(const QString &dir) const;

    qint32 version = 0;
    qint32 size = 0;
    QString serverPath;
    QVector<SiteDomain> domains;

private:
    Error fail(Error error, int line, const QString &text);
    Error readServer(const QDomNode &node);
    Error readSites(const QDomNode &node);
    Error readDomain(const QDomNode &node);

    QString m_errorText;
};
