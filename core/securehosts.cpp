#include "securehosts.h"

#include <QUrl>

SecureHosts SecureHosts::fromText(const QString &text)
{
    SecureHosts hosts;
    const QStringList entries = text.split(QLatin1Char(','));
    for (const QString &part : entries) {
        const QString entry = part.trimmed();
        if (entry.isEmpty())
            continue;
        const bool hasScheme = entry.contains(QLatin1String("://"));
        const QString host = QUrl(hasScheme ? entry : QStringLiteral("https://") + entry).host();
        if (host != entry.toLower())
            hosts.odd.append(entry);
        if (!host.isEmpty() && !hosts.names.contains(host))
            hosts.names.append(host);
    }
    return hosts;
}

bool SecureHosts::cover(const QString &address) const
{
    const QUrl url(address);
    const QString host = url.host();
    if (host.isEmpty() || url.scheme() != QLatin1String("https"))
        return false;
    return names.contains(host) ||
           (host.startsWith(QLatin1String("www.")) && names.contains(host.mid(4)));
}
