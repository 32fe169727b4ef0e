#include "cookies.h"

#include "httpget.h"
#include "redirect.h"
#include "trace.h"

#include <QStringList>
#include <QUrl>

Cookies::Cookies(int timeout, QObject *parent)
    : QObject(parent)
    , m_get(timeout)
{
    connect(&m_get, &AwaitedGet::readyRead, this, &Cookies::onReadyRead);
}

QString Cookies::start(const QString &url)
{
    return ask(QUrl(url), SiteAccess::plain(url));
}

QString Cookies::start(const SiteAccess &access, QNetworkCookieJar *jar)
{
    m_get.keepCookiesIn(jar);
    return ask(QUrl(access.cookieAddress), access);
}

QString Cookies::ask(const QUrl &url, const SiteAccess &access)
{
    TRACE() << "Cookies::start(" << url.toString() << ")";
    Redirect redirect{true, url, {}};
    for (int followed = 0; redirect.follow; ++followed) {
        QNetworkRequest request(redirect.to);
        if (!access.userAgent.isEmpty())
            request.setRawHeader("User-Agent", access.userAgent);
        m_reply = m_get.get(request);
        redirect =
            m_reply ? Redirect::of(*m_reply, access, access.cookieRedirects, followed) : Redirect();
    }
    if (m_reply && m_reply->error() != QNetworkReply::NoError)
        onNetworkError(m_reply->error());
    else
        onFinished();
    return m_cookieText;
}

bool Cookies::parseReply(const QNetworkReply *reply)
{
    TRACE() << "HTTP State:" << reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    m_cookieText.clear();
    if (reply->error() != QNetworkReply::NoError)
        return false;
    const QList<QNetworkReply::RawHeaderPair> &headers = reply->rawHeaderPairs();
    for (const QNetworkReply::RawHeaderPair &header : headers)
        TRACE() << header.first << ": " << header.second;
    if (!reply->hasRawHeader("Set-Cookie"))
        return false;
    const QByteArray value = reply->rawHeader("Set-Cookie");
    TRACE() << value;
    m_cookieText = folded(value);
    return true;
}

// The network layer joins several headers with line feeds, which would break the request that sends
// them back. Attributes like path and expiry belong to no request.
QString Cookies::folded(const QByteArray &headerValue)
{
    // A carriage return within a line is nothing to the network layer, but ends a line for others.
    const QString value = QString::fromLatin1(headerValue).remove(QLatin1Char('\r'));
    if (!value.contains(QLatin1Char('\n')))
        return value;
    QStringList pairs;
    const QStringList lines = value.split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        const QString pair = line.section(QLatin1Char(';'), 0, 0).trimmed();
        if (!pair.isEmpty())
            pairs.append(pair);
    }
    return pairs.join(QStringLiteral("; "));
}

void Cookies::onReadyRead(QNetworkReply *reply)
{
    m_skipped += reply->skip(reply->bytesAvailable()); // only the headers matter
    if (m_skipped > HttpGet::largestPage)
        m_get.stop(); // it may never end
}

void Cookies::onFinished()
{
    TRACE() << "Cookies(Finished): " << (m_reply ? m_reply->error() : -1);
    emit sigFinished(m_reply && parseReply(m_reply) ? 1 : 0);
}

void Cookies::onNetworkError(QNetworkReply::NetworkError err)
{
    const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    TRACE() << "Cookies::onNetworkError: " << err << m_reply->errorString() << status;
    emit sigFinished(status);
}
