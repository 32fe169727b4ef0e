#pragma once

#include "awaitedget.h"
#include "siteaccess.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QUrl>

// Fetches one web page and decodes it. Lives for one analysis, in the thread that created it.
class HttpGet final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(HttpGet)

public:
    static constexpr int transferTimeout = 60000;        // milliseconds without a byte
    static constexpr int largestPage = 16 * 1024 * 1024; // bytes

    explicit HttpGet(int timeout = transferTimeout, QObject *parent = nullptr);

    // The page text; empty for every kind of failure. Runs nested event loops until the transfer,
    // redirects included, is over, or the thread is told to quit.
    QString get(const SiteAccess &access);
    QString get(const QUrl &url); // a plain page

    // Why the last fetch failed, for a person; empty when there is nothing to say.
    QString reason() const { return m_reason; }
    // True when the last fetch met what another one would meet again.
    bool isRefused() const { return m_refused; }

    // True when nobody waits for the page any more: another fetch would end at once, empty.
    bool isStopped() const { return m_get.isStopped(); }

signals:
    void sigFinished(int nRe); // 1: there is text, 0: there is none; once per fetch

public slots:
    void httpFinished(const QNetworkReply *reply, const SiteAccess &access);
    void stop() { m_get.stop(); } // ends the fetch under way and refuses later ones

private:
    void takeBytes(QNetworkReply *reply);
    QString get(const QUrl &url, const SiteAccess &access);
    bool followRedirect(const QNetworkReply &reply, const SiteAccess &access);
    QString reasonOf(const QNetworkReply &reply, int status) const;

    QString m_pageText;
    QUrl m_url;
    AwaitedGet m_get;
    QByteArray m_body;
    bool m_tooLarge = false;
    QString m_referer;
    qint32 m_redirectCount = 0; // see SiteAccess::redirectsAddUp
    bool m_redirected = false;
    QString m_reason;
    bool m_refused = false;
};
