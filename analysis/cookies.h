#pragma once

#include <QNetworkReply>
#include <QObject>
#include <QString>

class QNetworkAccessManager;

// Asks a page for the cookies it hands out. Serves one request, in the thread that created it.
class Cookies : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(Cookies)

public:
    static constexpr int transferTimeout = 60000; // milliseconds without a byte

    explicit Cookies(QObject *parent = nullptr);
    ~Cookies() override;

    void setTransferTimeout(int milliseconds);

    // The value of the answer's Set-Cookie header, several of them folded into one line that can be
    // sent as a Cookie header; empty when there is none or the request failed. Runs a nested event
    // loop, which also ends when the thread is told to quit.
    QString start(const QString &url);
    virtual bool parseReply(QNetworkReply *reply);

signals:
    void sigFinished(int nRe);

public slots:
    void onReadyRead();
    void onFinished();
    void onNetworkError(QNetworkReply::NetworkError err);

private:
    QNetworkReply *m_reply = nullptr; // not owned: released with deleteLater
    QNetworkAccessManager *m_manager; // child
    QString m_cookieText;
    int m_transferTimeout = transferTimeout;
};
