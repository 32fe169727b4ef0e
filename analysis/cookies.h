#pragma once

#include "awaitedget.h"
#include "siteaccess.h"

#include <QObject>
#include <QString>

// Asks a page for the cookies it hands out. Serves one request, in the thread that created it.
class Cookies : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(Cookies)

public:
    static constexpr int transferTimeout = 60000; // milliseconds without a byte

    explicit Cookies(int timeout = transferTimeout, QObject *parent = nullptr);

    // The value of the answer's Set-Cookie header, folded; empty when there is none or the request
    // failed. Runs a nested event loop, which also ends when the thread is told to quit.
    QString start(const QString &url); // a plain page's
    // jar: takes the cookies of all answers on the way as well, each for its hosts.
    QString start(const SiteAccess &access, QNetworkCookieJar *jar);

    // Why the certificate of the page's server is not trusted; empty when it is.
    QString untrusted() const { return m_get.untrusted(); }
    int error() const { return m_get.error(); } // 0, or a QNetworkReply::NetworkError
    virtual bool parseReply(const QNetworkReply *reply);

    // The network layer's value of several Set-Cookie headers as one line that can be sent as a
    // Cookie header; a single header stays as it is.
    static QString folded(const QByteArray &headerValue);

signals:
    void sigFinished(int nRe);

public slots:
    void onReadyRead(QNetworkReply *reply);
    void onFinished();
    void onNetworkError(QNetworkReply::NetworkError err);

private:
    QString ask(const QUrl &url, const SiteAccess &access);

    AwaitedGet m_get;
    const QNetworkReply *m_reply = nullptr; // the answer, once it has ended; m_get's
    QString m_cookieText;
    qint64 m_skipped = 0; // bytes of the page
};
