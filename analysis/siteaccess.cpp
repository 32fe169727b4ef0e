#include "siteaccess.h"

#include "product.h"
#include "securehosts.h"
#include "texts.h"

#include <QCoreApplication>
#include <QUrl>

namespace {
constexpr int mostRedirects = 10;
const char browser[] = "Mozilla/5.0 (Windows; U; Windows NT 5.1; en-US) AppleWebKit/534.3 "
                       "(KHTML, like Gecko) Chrome/6.0.472.63 Safari/534.3 ChromePlus/1.4.2.0";

bool isHttps(const QUrl &url)
{
    return url.scheme() == QLatin1String("https");
}
} // namespace

bool isWeb(const QUrl &url)
{
    return isHttps(url) || url.scheme() == QLatin1String("http");
}

namespace {
// It would not be here without a host that is known, but what follows may be no port.
bool isValid(const QString &page)
{
    return QUrl(page).isValid();
}

QString prefixed(const QString &text)
{
    return ensurePrefix(text, QStringLiteral("http://"));
}

// A file of this computer is no stream, nor is half an address.
QString webAddress(const QString &text)
{
    const QUrl url(text);
    return isWeb(url) && !url.host().isEmpty() ? text : QString();
}

QString unchanged(const QString &text)
{
    return text;
}

QString refuseNothing(const QUrl &, const QUrl &, int)
{
    return QString();
}

QString refuseUnsafe(const QUrl &from, const QUrl &to, int followed)
{
    if (followed >= mostRedirects)
        return QCoreApplication::translate("SiteAccess", "more than %1 redirects")
            .arg(mostRedirects);
    if (!isWeb(to) || to.host().isEmpty())
        return QCoreApplication::translate("SiteAccess", "redirected to no web address");
    if (isHttps(from) && !isHttps(to))
        return QCoreApplication::translate("SiteAccess", "redirected from https to http");
    return QString();
}
} // namespace

SiteAccess SiteAccess::plain(const QString &page)
{
    SiteAccess access = {};
    access.page = page;
    access.address = prefixed(page);
    // A job whose host is no longer listed: cookies that came over TLS would be sent to any host.
    access.cookieAddress =
        (isHttps(QUrl(page)) ? access.address : page) + QStringLiteral("&hl=en_US&persist_hl=0");
    access.looksRight = isUrl;
    access.pageUserAgent = browser;
    access.cookiesDemanded = true;
    access.pageRedirects = mostRedirects;
    access.redirectsAddUp = true;
    access.redirectRefusal = refuseNothing;
    access.streamAddress = prefixed;
    access.keptAddress = decodeUrl;
    return access;
}

SiteAccess SiteAccess::secure(const QString &page)
{
    SiteAccess access = {};
    // A password in an address is for nobody: not for the site, the log or the list.
    const QUrl url(page);
    access.page =
        url.userInfo().isEmpty() ? page : QString::fromLatin1(url.toEncoded(QUrl::RemoveUserInfo));
    access.address = access.page;
    access.cookieAddress = access.page;
    access.looksRight = isValid;
    access.userAgent = QStringLiteral("%1/%2 (+%3)")
                           .arg(product::name(), product::version(), product::helpUrl())
                           .toLatin1();
    access.pageUserAgent = access.userAgent;
    access.cookiesByHost = true;
    access.pageRedirects = mostRedirects;
    access.cookieRedirects = mostRedirects;
    access.streamRedirects = mostRedirects;
    access.redirectRefusal = refuseUnsafe;
    access.streamAddress = webAddress;
    access.keptAddress = unchanged;
    access.pagesRefused = true;
    access.tellsReasons = true;
    return access;
}

SiteAccess siteAccess(const QString &page, const SecureHosts &hosts)
{
    return hosts.cover(page) ? SiteAccess::secure(page) : SiteAccess::plain(page);
}
