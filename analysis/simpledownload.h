#pragma once

#include "awaitedget.h"

#include <QFile>
#include <QObject>
#include <QString>

// Downloads one file by way of a file beside it whose name ends in "_temp"; the target is replaced
// only by a complete transfer. Serves one download, in the thread that created it.
class SimpleDownload final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(SimpleDownload)

public:
    static constexpr int transferTimeout = 10000;        // milliseconds without a byte
    static constexpr int largestFile = 16 * 1024 * 1024; // bytes

    // Why a download failed, beside the numbers of QNetworkReply::NetworkError.
    enum Error {
        NotWritten = 1003,
        Empty = 1013,
        TooLarge = 1014,
    };

    explicit SimpleDownload(int timeout = transferTimeout);

    // True when the file is in place. False also for an empty file. Runs a nested event loop.
    bool download(const QString &url, const QString &path);
    int error() const { return m_error; } // 0 after a download that succeeded

signals:
    void sigFinished(int nRe, int nExtra);

public slots:
    void onReadyRead(QNetworkReply *reply);
    void onFinished();
    void onNetworkError(QNetworkReply::NetworkError err);
    void stop() { m_get.stop(); } // fails the download under way

private:
    bool putInPlace(const QString &path);

    AwaitedGet m_get;
    QFile m_file;
    bool m_writeOk = false;
    int m_error = 0;
};
