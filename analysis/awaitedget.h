#pragma once

#include "networkaccess.h"

#include <QNetworkReply>
#include <QObject>

// Takes leave of a reply: the receiver hears nothing of it any more, it ends and is deleted, and
// the pointer is null afterwards. Null is accepted.
void releaseReply(QNetworkReply *&reply, const QObject *receiver);

// Sends GET requests, one after another, and waits for the end of each in a nested event loop.
// Cookies that an answer sets are kept for the next request. Belongs to the thread that created it.
class AwaitedGet final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(AwaitedGet)

public:
    // timeout: milliseconds without a byte; there is no limit for a request as a whole.
    explicit AwaitedGet(int timeout);
    ~AwaitedGet() override;

    // The answer once it has ended, well or not; null when it was stopped or the thread was told to
    // quit before. It lives until the next request. Addresses that are neither http nor https fail.
    const QNetworkReply *get(QNetworkRequest request);

    // Of the last request: 0, or the number of a QNetworkReply::NetworkError.
    int error() const;

    // Why the certificate of the last request's server is not trusted; empty when it is.
    QString untrusted() const { return m_untrusted; }

    // Where cookies are kept and come from, instead of a place of its own. Not owned.
    void keepCookiesIn(QNetworkCookieJar *jar);

    // True when nobody waits for an answer any more: another request would end at once.
    bool isStopped() const;

signals:
    // There are bytes to take out; the buffer is small, and what is not taken out holds the rest
    // up.
    void readyRead(QNetworkReply *reply);
    void stopped();

public slots:
    void stop(); // ends the request under way and refuses later ones

private:
    void wait();

    const int m_timeout;
    NetworkAccess m_manager;
    QNetworkReply *m_reply = nullptr; // not owned: released with deleteLater
    QString m_untrusted;
    bool m_stopped = false;
};
