#include "cookies.h"

#include "trace.h"

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QStringList>
#include <QUrl>

namespace {
// The network layer joins several Set-Cookie headers with line feeds, which would break the request
// that sends them back. Attributes like path and expiry belong to no request.
QString foldedCookies(const QByteArray &headerValue)
{
    const QString value = QString::fromLatin1(headerValue);
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
} // namespace

Cookies::Cookies(QObject *parent)
    : QObject(parent)
    , m_manager(new QNetworkAccessManager(this))
{
}

Cookies::~Cookies()
{
    if (m_reply && !m_reply->isFinished()) {
        m_reply->disconnect(this);
        m_reply->abort();
    }
    delete m_manager;
}

void Cookies::setTransferTimeout(int milliseconds)
{
    m_transferTimeout = milliseconds;
}

QString Cookies::start(const QString &url)
{
    const QUrl address(url);
    TRACE() << "Cookies::start(" << address.toString() << ")";
    QNetworkRequest request(address);
    request.setTransferTimeout(m_transferTimeout);
    m_reply = m_manager->get(request);
    if (m_reply->isFinished()) {
        m_reply->deleteLater();
        m_reply = nullptr;
        return QString();
    }
    connect(m_reply, &QNetworkReply::readyRead, this, &Cookies::onReadyRead);
    connect(m_reply, &QNetworkReply::finished, this, &Cookies::onFinished);
    connect(m_reply, &QNetworkReply::errorOccurred, this, &Cookies::onNetworkError);

    QEventLoop loop;
    connect(this, &Cookies::sigFinished, &loop, &QEventLoop::quit);
    loop.exec();
    return m_cookieText;
}

bool Cookies::parseReply(QNetworkReply *reply)
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
    m_cookieText = foldedCookies(value);
    return true;
}

void Cookies::onReadyRead()
{
    // Only the headers matter; a body that is never taken out would stay in memory.
    if (m_reply)
        m_reply->skip(m_reply->bytesAvailable());
}

void Cookies::onFinished()
{
    // After an error the reply has been handed back already.
    bool found = false;
    if (m_reply) {
        TRACE() << "Cookies(Finished): " << m_reply->error();
        if (m_reply->error() == QNetworkReply::NoError) {
            found = parseReply(m_reply);
            m_reply->deleteLater();
            m_reply = nullptr;
        }
    }
    emit sigFinished(found ? 1 : 0);
}

void Cookies::onNetworkError(QNetworkReply::NetworkError err)
{
    if (!m_reply)
        return;
    const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    TRACE() << "Cookies::onNetworkError: " << err << m_reply->errorString() << status;
    m_reply->deleteLater();
    m_reply = nullptr;
    emit sigFinished(status);
}
