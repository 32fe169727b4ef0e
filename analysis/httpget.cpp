#include "httpget.h"

#include "trace.h"

#include <QEventLoop>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTextCodec>
#include <QThread>

namespace {
constexpr int redirectLimit = 10;
constexpr int firstErrorStatus = 400;
const char userAgent[] = "Mozilla/5.0 (Windows; U; Windows NT 5.1; en-US) AppleWebKit/534.3 "
                         "(KHTML, like Gecko) Chrome/6.0.472.63 Safari/534.3 ChromePlus/1.4.2.0";
} // namespace

HttpGet::HttpGet(QObject *parent)
    : QObject(parent)
{
    connect(&m_manager, &QNetworkAccessManager::finished, this, &HttpGet::httpFinished);
}

void HttpGet::setCodecName(const QString &name)
{
    m_codecName = name;
}

void HttpGet::setFollowRedirects(bool follow)
{
    m_followRedirects = follow;
}

void HttpGet::setSendReferer(bool send)
{
    m_sendReferer = send;
}

void HttpGet::setTransferTimeout(int milliseconds)
{
    m_transferTimeout = milliseconds;
}

bool HttpGet::isStopped() const
{
    return m_stopped || QThread::currentThread()->isInterruptionRequested();
}

void HttpGet::stop()
{
    m_stopped = true;
    m_pageText.clear();
    emit sigFinished(0);
}

QString HttpGet::get(const QUrl &url)
{
    m_pageText.clear();
    m_url = url;
    if (isStopped()) {
        // After a redirect the loop of the hop before is still waiting.
        emit sigFinished(0);
        return QString();
    }
    TRACE() << "Getting page: " << url.toString();

    QNetworkRequest request(url);
    if (m_sendReferer && !m_referer.isEmpty())
        request.setRawHeader("Referer", m_referer.toUtf8());
    request.setRawHeader("User-Agent", userAgent);
    request.setTransferTimeout(m_transferTimeout);
    const QNetworkReply *reply = m_manager.get(request);

    QEventLoop loop;
    connect(this, &HttpGet::sigFinished, &loop, &QEventLoop::quit);
    loop.exec();
    // The thread was told to quit: what still comes of this request is of no interest.
    if (!reply->isFinished())
        m_stopped = true;
    return m_pageText;
}

void HttpGet::httpFinished(QNetworkReply *reply)
{
    if (m_stopped)
        return;
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    m_referer = m_url.toString(QUrl::FullyEncoded);
    if (followRedirect(*reply))
        return;
    // A transfer that was cut short has a good status and half a page.
    const bool failed = reply->error() != QNetworkReply::NoError;
    if (failed || (status.isValid() && status.toInt() >= firstErrorStatus))
        m_pageText.clear();
    else
        m_pageText = decode(reply->readAll());
    emit sigFinished(m_pageText.isEmpty() ? 0 : 1);
}

bool HttpGet::followRedirect(const QNetworkReply &reply)
{
    const QVariant target = reply.attribute(QNetworkRequest::RedirectionTargetAttribute);
    if (!target.isValid() || !m_followRedirects || m_redirectCount >= redirectLimit)
        return false;
    const QUrl resolved = m_url.resolved(target.toUrl());
    // A site must not send the fetcher to a file of this computer.
    if (resolved.scheme() != QLatin1String("http") && resolved.scheme() != QLatin1String("https"))
        return false;
    TRACE() << "Redirecting from " << m_url.toString() << " to " << resolved.toString();
    ++m_redirectCount;
    get(resolved);
    return true;
}

QString HttpGet::declaredCharset(const QString &page) const
{
    static const QString headStart = QStringLiteral("<head>");
    static const QString attribute = QStringLiteral("charset=");

    const int start = page.indexOf(headStart);
    const int end = page.indexOf(QLatin1String("</head>"));
    if (start < 0 || end < start)
        return QString();
    const int headBegin = start + headStart.size();
    const QString head = page.mid(headBegin, end - headBegin);
    for (int tagStart = head.indexOf(QLatin1String("<meta ")); tagStart >= 0;
         tagStart = head.indexOf(QLatin1String("<meta "), tagStart + 1)) {
        const int tagEnd = head.indexOf(QLatin1Char('>'), tagStart);
        if (tagEnd < 0)
            continue;
        const QString tag = head.mid(tagStart, tagEnd - tagStart);
        const int found = tag.indexOf(attribute);
        if (found < 0)
            continue;
        const int valueStart = found + attribute.size();
        const int valueEnd = tag.indexOf(QLatin1Char('"'), valueStart);
        if (valueEnd < 0) {
            TRACE() << "strange error when tried to get charset setting in web page "
                    << m_url.toString();
            continue;
        }
        return tag.mid(valueStart, valueEnd - valueStart);
    }
    return QString();
}

QString HttpGet::decode(const QByteArray &body) const
{
    const QString provisional =
        QString::fromLatin1(body.constData(), int(qstrnlen(body.constData(), uint(body.size()))));
    const QString charset = declaredCharset(provisional);

    QString codecName = m_codecName;
    if (codecName.isEmpty())
        codecName = charset;
    else if (!charset.isEmpty() && codecName != charset)
        TRACE() << "warning: in " << m_url.toString() << ", we find charset is " << charset
                << ", but the codec is set to " << codecName;
    if (codecName.isEmpty())
        codecName = QStringLiteral("UTF-8");

    const QTextCodec *codec = QTextCodec::codecForName(codecName.toLatin1());
    if (!codec) {
        codecName = charset.isEmpty() ? QStringLiteral("UTF-8") : charset;
        TRACE() << "warning: codec invalid.  Set to " << codecName;
        codec = QTextCodec::codecForName(codecName.toLatin1());
    }
    if (!codec) {
        TRACE() << "warning: codec invalid: " << codecName;
        return provisional;
    }
    return codec->toUnicode(body);
}
