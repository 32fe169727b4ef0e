#include "httpget.h"

#include "pagetext.h"
#include "redirect.h"
#include "trace.h"

static constexpr int firstErrorStatus = 400;

HttpGet::HttpGet(int timeout, QObject *parent)
    : QObject(parent)
    , m_get(timeout)
{
    connect(&m_get, &AwaitedGet::readyRead, this, &HttpGet::takeBytes);
}

QString HttpGet::get(const SiteAccess &access)
{
    return get(QUrl(access.address), access);
}

QString HttpGet::get(const QUrl &url)
{
    return get(url, SiteAccess::plain(url.toString()));
}

QString HttpGet::get(const QUrl &url, const SiteAccess &access)
{
    m_pageText.clear();
    m_reason.clear();
    m_refused = false;
    if (!access.redirectsAddUp)
        m_redirectCount = 0;
    m_url = url;
    do {
        TRACE() << "Getting page: " << m_url.toString();
        QNetworkRequest request(m_url);
        if (!m_referer.isEmpty())
            request.setRawHeader("Referer", m_referer.toUtf8());
        request.setRawHeader("User-Agent", access.pageUserAgent);
        m_body.clear();
        m_tooLarge = false;
        m_redirected = false;
        if (const QNetworkReply *reply = m_get.get(request))
            httpFinished(reply, access);
    } while (m_redirected);
    m_body.clear();
    emit sigFinished(m_pageText.isEmpty() ? 0 : 1);
    return m_pageText;
}

void HttpGet::takeBytes(QNetworkReply *reply)
{
    m_tooLarge = m_tooLarge || m_body.size() + reply->bytesAvailable() > largestPage;
    if (m_tooLarge)
        reply->abort();
    else
        m_body += reply->readAll();
}

void HttpGet::httpFinished(const QNetworkReply *reply, const SiteAccess &access)
{
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    // Who is asked next learns where from, and no more than that.
    m_referer =
        m_url.adjusted(QUrl::RemoveUserInfo | QUrl::RemoveFragment).toString(QUrl::FullyEncoded);
    if (followRedirect(*reply, access))
        return;
    // A transfer that was cut short has a good status and half a page.
    const bool whole = reply->error() == QNetworkReply::NoError && !m_tooLarge && !m_refused;
    if (whole && !(status.isValid() && status.toInt() >= firstErrorStatus))
        m_pageText = decodePage(m_body, m_url.toString());
    else if (m_reason.isEmpty())
        m_reason = reasonOf(*reply, status.toInt());
    m_refused = m_refused || m_tooLarge || !m_get.untrusted().isEmpty();
}

QString HttpGet::reasonOf(const QNetworkReply &reply, int status) const
{
    if (m_tooLarge)
        return tr("larger than %1 MB").arg(largestPage / 1024 / 1024);
    if (status >= firstErrorStatus)
        return tr("the server answered %1").arg(status);
    if (m_get.error() == QNetworkReply::TimeoutError)
        return tr("the server does not answer");
    return m_get.untrusted().isEmpty() ? reply.errorString() : m_get.untrusted();
}

bool HttpGet::followRedirect(const QNetworkReply &reply, const SiteAccess &access)
{
    const Redirect redirect = Redirect::of(reply, access, access.pageRedirects, m_redirectCount);
    m_reason = redirect.refusal;
    m_refused = !redirect.refusal.isEmpty();
    if (!redirect.follow)
        return false;
    ++m_redirectCount;
    m_url = redirect.to;
    m_redirected = true;
    return true;
}
