#include "streamexchange.h"

#include "jobrecord.h"
#include "siteaccess.h"
#include "trace.h"

#include <QNetworkReply>
#include <QUrl>

QNetworkRequest streamRequest(const JobRecord &record, const SiteAccess &access,
                              const QUrl &address, qint64 offset, int stallTimeout)
{
    QNetworkRequest request(address);
    request.setTransferTimeout(stallTimeout);
    if (!access.cookiesByHost) {
        // Cookies of an earlier answer of this attempt must not take the place of the page's.
        request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
        request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
        request.setRawHeader("Cookie", record.video_cookies.text().toLatin1());
    }
    // Anything else would be unpacked on the way, and no offset of the file would be true.
    request.setRawHeader("Accept-Encoding", "identity");
    const QByteArray agent =
        record.video_usser_agent.isEmpty() ? access.userAgent : record.video_usser_agent.toLatin1();
    if (!agent.isEmpty())
        request.setRawHeader("User-Agent", agent);
    if (offset > 0)
        request.setRawHeader("Range", "bytes=" + QByteArray::number(offset) + '-');
    // The rest of another version would spoil what is here; the whole of it comes instead.
    const QString validator = record.validator;
    if (offset > 0 && !validator.isEmpty())
        request.setRawHeader("If-Range", validator.toLatin1());
    TRACE() << "request:" << address.toString();
    for (const QByteArray &name : request.rawHeaderList())
        TRACE() << name << request.rawHeader(name);
    return request;
}

AnswerHead headOf(const QNetworkReply &reply)
{
    AnswerHead head;
    head.status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    head.contentType = reply.header(QNetworkRequest::ContentTypeHeader).toString();
    bool ok = false;
    const qint64 length = reply.header(QNetworkRequest::ContentLengthHeader).toLongLong(&ok);
    head.length = ok ? length : -1;
    head.range = parseContentRange(reply.rawHeader("Content-Range"));
    head.encoding = reply.rawHeader("Content-Encoding").trimmed().toLower();
    head.etag = reply.rawHeader("ETag").trimmed();
    head.lastModified = reply.rawHeader("Last-Modified").trimmed();
    return head;
}
