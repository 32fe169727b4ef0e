#include "httpget.h"

#include "pagetext.h"
#include "trace.h"

namespace {
constexpr int redirectLimit = 10;
constexpr int firstErrorStatus = 400;
const char userAgent[] = "Mozilla/5.0 (Windows; U; Windows NT 5.1; en-US) AppleWebKit/534.3 "
                         "(KHTML, like Gecko) Chrome/6.0.472.63 Safari/534.3 ChromePlus/1.4.2.0";
} // namespace

HttpGet::HttpGet(int timeout, QObject *parent)
    : QObject(parent)
    , m_get(timeout)
{
    connect(&m_get, &AwaitedGet::readyRead, this, &HttpGet::takeBytes);
}

QString HttpGet::get(const QUrl &url)
{
    m_pageText.clear();
    m_url = url;
    do {
        TRACE() << "Getting page: " << m_url.toString();
        QNetworkRequest request(m_url);
        if (!m_referer.isEmpty())
            request.setRawHeader("Referer", m_referer.toUtf8());
        request.setRawHeader("User-Agent", userAgent);
        m_body.clear();
        m_tooLarge = false;
        m_redirected = false;
        if (const QNetworkReply *reply = m_get.get(request))
            httpFinished(reply);
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

void HttpGet::httpFinished(const QNetworkReply *reply)
{
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    // Who is asked next learns where from, and no more than that.
    m_referer =
        m_url.adjusted(QUrl::RemoveUserInfo | QUrl::RemoveFragment).toString(QUrl::FullyEncoded);
    if (followRedirect(*reply))
        return;
    // A transfer that was cut short has a good status and half a page.
    const bool whole = reply->error() == QNetworkReply::NoError && !m_tooLarge;
    if (whole && !(status.isValid() && status.toInt() >= firstErrorStatus))
        m_pageText = decodePage(m_body, m_url.toString());
}

bool HttpGet::followRedirect(const QNetworkReply &reply)
{
    const QVariant target = reply.attribute(QNetworkRequest::RedirectionTargetAttribute);
    if (!target.isValid() || m_redirectCount >= redirectLimit)
        return false;
    const QUrl resolved = m_url.resolved(target.toUrl());
    TRACE() << "Redirecting from " << m_url.toString() << " to " << resolved.toString();
    ++m_redirectCount;
    m_url = resolved;
    m_redirected = true;
    return true;
}
