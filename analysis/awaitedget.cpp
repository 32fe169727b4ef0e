#include "awaitedget.h"

#include "siteaccess.h"

#include <QEventLoop>
#include <QNetworkCookieJar>
#include <QThread>

// Bytes. A packed answer grows a thousandfold at most, and only what is in here at a time.
static constexpr qint64 readBufferSize = 32 * 1024;

void releaseReply(QNetworkReply *&reply, const QObject *receiver)
{
    if (!reply)
        return;
    reply->disconnect(receiver);
    // One that failed is not to be aborted: the network layer is still saying so.
    if (!reply->isFinished() && reply->error() == QNetworkReply::NoError)
        reply->abort();
    reply->deleteLater();
    reply = nullptr;
}

AwaitedGet::AwaitedGet(int timeout)
    : m_timeout(timeout)
{
}

AwaitedGet::~AwaitedGet()
{
    releaseReply(m_reply, this);
}

bool AwaitedGet::isStopped() const
{
    return m_stopped || QThread::currentThread()->isInterruptionRequested();
}

void AwaitedGet::stop()
{
    m_stopped = true;
    emit stopped();
}

int AwaitedGet::error() const
{
    if (!m_reply)
        return isStopped() ? QNetworkReply::OperationCanceledError
                           : QNetworkReply::ProtocolUnknownError;
    const QNetworkReply::NetworkError error = m_reply->error();
    // The network layer ends a silent answer like one that was aborted.
    return error == QNetworkReply::OperationCanceledError ? QNetworkReply::TimeoutError : error;
}

void AwaitedGet::keepCookiesIn(QNetworkCookieJar *jar)
{
    QObject *owner = jar->parent();
    m_manager.setCookieJar(jar);
    jar->setParent(owner); // the manager takes it otherwise
}

const QNetworkReply *AwaitedGet::get(QNetworkRequest request)
{
    releaseReply(m_reply, this);
    m_untrusted.clear();
    if (isStopped() || !isWeb(request.url()))
        return nullptr;
    request.setTransferTimeout(m_timeout);
    m_reply = m_manager.get(request);
    m_reply->setReadBufferSize(readBufferSize);
    connect(m_reply, &QNetworkReply::readyRead, this, [this] { emit readyRead(m_reply); });
    connect(m_reply, &QNetworkReply::sslErrors, this,
            [this](const QList<QSslError> &errors) { m_untrusted = ::untrusted(errors); });
    if (!m_reply->isFinished())
        wait();
    if (m_stopped) {
        releaseReply(m_reply, this);
        return nullptr;
    }
    if (m_reply->bytesAvailable() > 0) // what arrived together with the end
        emit readyRead(m_reply);
    return m_reply;
}

void AwaitedGet::wait()
{
    QEventLoop loop;
    connect(m_reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    connect(this, &AwaitedGet::stopped, &loop, &QEventLoop::quit);
    loop.exec();
    // The thread was told to quit: what still comes of this request is of no interest.
    if (!m_reply->isFinished())
        m_stopped = true;
}
