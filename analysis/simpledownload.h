#pragma once

#include <QFile>
#include <QNetworkReply>
#include <QObject>
#include <QString>

class QNetworkAccessManager;

// Downloads one file by way of a file beside it whose name ends in "_temp"; the target is replaced
// only by a complete transfer. Serves one download, in the thread that created it.
class SimpleDownload final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(SimpleDownload)

public:
    static constexpr int transferTimeout = 10000; // milliseconds without a byte

    explicit SimpleDownload(QObject *parent = nullptr);
    ~SimpleDownload() override;

    void setTransferTimeout(int milliseconds);

    // True when the file is in place. False also for an empty file. Runs a nested event loop.
    bool download(const QString &url, const QString &path);

signals:
    void sigFinished(int nRe, int nExtra); // only ends the wait

public slots:
    void onReadyRead();
    void onFinished();
    void onNetworkError(QNetworkReply::NetworkError err);
    void stop(); // fails the download under way

private:
    bool putInPlace();
    void releaseReply();

    QString m_source;
    QString m_target;
    QString m_tempPath;
    bool m_writeOk = false;
    QFile m_file;
    QNetworkReply *m_reply = nullptr; // not owned: released with deleteLater
    QNetworkAccessManager *m_manager; // child
    int m_transferTimeout = transferTimeout;
    bool m_complete = false;
    bool m_failed = false;
};
