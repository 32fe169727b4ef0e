#include "pagefolder.h"

#include <QDir>
#include <QFile>
#include <QUrl>

PageFolder::PageFolder(const QString &folder)
    : m_folder(folder)
{
}

QStringList PageFolder::names() const
{
    if (!isSet())
        return {};
    return QDir(m_folder).entryList({QStringLiteral("*.html"), QStringLiteral("*.htm")},
                                    QDir::Files, QDir::Name);
}

QByteArray PageFolder::page(const QByteArray &encodedName, const QString &site,
                            const QString &streamSite) const
{
    // The program asks for a page's cookies with words about the language behind the address.
    for (const QByteArray &encoded : {encodedName, encodedName.left(encodedName.indexOf("&hl="))}) {
        const QString name = QUrl::fromPercentEncoding(encoded);
        // A plain name of this folder, so none that leads out of it.
        if (!names().contains(name))
            continue;
        QFile file(QDir(m_folder).filePath(name));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        const QString separator = QStringLiteral("://");
        return file.readAll()
            .replace("@SCHEME@", site.section(separator, 0, 0).toLatin1())
            .replace("@HOST@", site.section(separator, 1).toLatin1())
            .replace("@STREAMS@", streamSite.section(separator, 1).toLatin1());
    }
    return QByteArray();
}
