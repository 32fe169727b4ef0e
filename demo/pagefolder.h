#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

// The HTML files of a folder, as pages of a site. What is in the folder is looked up anew each
// time.
class PageFolder final
{
public:
    explicit PageFolder(const QString &folder = QString()); // empty: no pages

    bool isSet() const { return !m_folder.isEmpty(); }
    QStringList names() const; // sorted
    // The file of that name, percent-encoded as a client sends it. "@SCHEME@", "@HOST@" and
    // "@STREAMS@" in it become the scheme and the host of the site's address and the host of its
    // streams, ports included. Null when there is no such page.
    QByteArray page(const QByteArray &encodedName, const QString &site,
                    const QString &streamSite) const;

private:
    QString m_folder;
};
