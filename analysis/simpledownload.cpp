#include "simpledownload.h"

#include "trace.h"

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QTimer>
#include <QUrl>

#include <filesystem>
#include <system_error>

static constexpr int longestDownload = 30000; // milliseconds, for a file of a few kilobytes

SimpleDownload::SimpleDownload(QObject *parent)
    : QObject(parent)
    , m_manager(new QNetworkAccessManager(this))
{
}

SimpleDownload::~SimpleDownload()
{
    releaseReply();
}

void SimpleDownload::setTransferTimeout(int milliseconds)
{
    m_transferTimeout = milliseconds;
}

bool SimpleDownload::download(const QString &url, const QString &path)
{
    m_source = url;
    m_target = path;
    m_tempPath = path + QStringLiteral("_temp");
    const QUrl address(m_source);
    // A manifest must not have files of this computer copied.
    if (address.scheme() != QLatin1String("http") && address.scheme() != QLatin1String("https"))
        return false;
    m_file.setFileName(m_tempPath);
    // Unbuffered, so that a full disk shows at the write that hits it.
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered))
        return false;

    QNetworkRequest request(address);
    request.setTransferTimeout(m_transferTimeout);
    m_reply = m_manager->get(request);
    if (m_reply->isFinished()) {
        releaseReply();
        m_file.close();
        return false;
    }
    connect(m_reply, &QNetworkReply::readyRead, this, &SimpleDownload::onReadyRead);
    connect(m_reply, &QNetworkReply::finished, this, &SimpleDownload::onFinished);
    connect(m_reply, &QNetworkReply::errorOccurred, this, &SimpleDownload::onNetworkError);

    QEventLoop loop;
    connect(this, &SimpleDownload::sigFinished, &loop, &QEventLoop::quit);
    // A server that drips must not keep the program from starting.
    QTimer::singleShot(longestDownload, &loop, &QEventLoop::quit);
    loop.exec();
    releaseReply();
    m_file.close();
    if (m_file.error() != QFileDevice::NoError)
        m_failed = true;
    return m_complete && m_writeOk && !m_failed && putInPlace();
}

// Replaces the old file in one step where the system can, so that there is always one of the two.
bool SimpleDownload::putInPlace()
{
    std::error_code error;
    std::filesystem::rename(QFile::encodeName(m_tempPath).toStdString(),
                            QFile::encodeName(m_target).toStdString(), error);
    if (error)
        TRACE() << "Cannot rename " << m_tempPath << QString::fromStdString(error.message());
    return !error;
}

void SimpleDownload::releaseReply()
{
    if (!m_reply)
        return;
    m_reply->disconnect(this);
    // A reply that is reporting its error is not finished yet and must not be ended once more.
    if (!m_reply->isFinished() && m_reply->error() == QNetworkReply::NoError)
        m_reply->abort();
    m_reply->deleteLater();
    m_reply = nullptr;
}

void SimpleDownload::onReadyRead()
{
    if (!m_reply || m_reply->error() != QNetworkReply::NoError)
        return;
    const QByteArray bytes = m_reply->readAll();
    if (bytes.isEmpty())
        return;
    m_writeOk = m_file.write(bytes) == bytes.size();
    if (!m_writeOk) {
        m_failed = true;
        emit sigFinished(1, 2);
    }
}

void SimpleDownload::onFinished()
{
    // After an error the reply has been handed back already.
    if (!m_reply)
        return;
    m_complete = m_reply->error() == QNetworkReply::NoError;
    if (m_complete)
        emit sigFinished(m_writeOk ? 1 : 0, 0);
    else
        emit sigFinished(1, m_reply->error());
    releaseReply();
}

void SimpleDownload::onNetworkError(QNetworkReply::NetworkError err)
{
    TRACE() << "SimpleDownload: " << m_source << err;
    m_failed = true;
    emit sigFinished(1, err);
    releaseReply();
}

void SimpleDownload::stop()
{
    m_failed = true;
    emit sigFinished(1, QNetworkReply::OperationCanceledError);
}
