#include "simpledownload.h"

#include "logfile.h"
#include "trace.h"

#include <QUrl>

#include <filesystem>
#include <system_error>

SimpleDownload::SimpleDownload(int timeout)
    : m_get(timeout)
{
    connect(&m_get, &AwaitedGet::readyRead, this, &SimpleDownload::onReadyRead);
}

bool SimpleDownload::download(const QString &url, const QString &path)
{
    m_file.setFileName(path + QStringLiteral("_temp"));
    // Unbuffered, so that a full disk shows at the write that hits it.
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered)) {
        m_error = NotWritten;
        return false;
    }
    m_get.get(QNetworkRequest(QUrl(url)));
    if (m_error == 0 && m_get.error() != 0)
        onNetworkError(QNetworkReply::NetworkError(m_get.error()));
    else if (m_error == 0)
        onFinished();
    m_file.close();
    if (m_error == 0 && m_file.error() != QFileDevice::NoError)
        m_error = NotWritten;
    if (m_error == 0 && !putInPlace(path))
        m_error = NotWritten;
    if (m_error != 0)
        TRACE() << "SimpleDownload: " << url << m_error;
    return m_error == 0;
}

// Replaces the old file in one step where the system can, so that there is always one of the two.
bool SimpleDownload::putInPlace(const QString &path)
{
    std::error_code error;
    std::filesystem::rename(QFile::encodeName(m_file.fileName()).toStdString(),
                            QFile::encodeName(path).toStdString(), error);
    if (error)
        TRACE() << "Cannot rename " << m_file.fileName() << QString::fromStdString(error.message());
    return !error;
}

void SimpleDownload::onReadyRead(QNetworkReply *reply)
{
    if (reply->error() != QNetworkReply::NoError || m_error != 0)
        return;
    const QByteArray bytes = reply->readAll();
    if (bytes.isEmpty())
        return;
    // A manifest is read as a whole, and no script needs as much.
    const bool fits = m_file.size() + bytes.size() <= largestFile;
    m_writeOk = fits && m_file.write(bytes) == bytes.size();
    if (!m_writeOk) {
        m_error = fits ? NotWritten : TooLarge;
        emit sigFinished(1, 2);
        m_get.stop();
    }
}

void SimpleDownload::onFinished()
{
    if (!m_writeOk)
        m_error = Empty;
    emit sigFinished(m_writeOk ? 1 : 0, 0);
}

void SimpleDownload::onNetworkError(QNetworkReply::NetworkError err)
{
    m_error = err;
    if (!m_get.untrusted().isEmpty())
        LogFile::instance()->write(QStringLiteral("Check update:"), m_get.untrusted());
    emit sigFinished(1, err);
}
