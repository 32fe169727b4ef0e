#include "streamexchange.h"

#include "jobrecord.h"

#include <QNetworkReply>
#include <QUrl>

QNetworkRequest streamRequest(const JobRecord &record, qint64 offset, int stallTimeout)
{
    QNetworkRequest request(QUrl(record.video_url));
    request.setTransferTimeout(stallTimeout);
    // Cookies of an earlier answer of this attempt must not take the place of the page's.
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    // Anything else would be unpacked on the way, and no offset of the file would be true.
    request.setRawHeader("Accept-Encoding", "identity");
    if (!record.video_usser_agent.isEmpty())
        request.setRawHeader("User-Agent", record.video_usser_agent.toLatin1());
    request.setRawHeader("Cookie", record.video_cookies.text().toLatin1());
    if (offset > 0)
        request.setRawHeader("Range", "bytes=" + QByteArray::number(offset) + '-');
    // The rest of another version would spoil what is here; the whole of it comes instead.
    const QString validator = record.validator;
    if (offset > 0 && !validator.isEmpty())
        request.setRawHeader("If-Range", validator.toLatin1());
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
