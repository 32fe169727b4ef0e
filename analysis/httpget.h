#pragma once

#include <QNetworkAccessManager>
#include <QObject>
#include <QString>
#include <QUrl>

class QNetworkReply;

// Fetches one web page and decodes it. Lives for one analysis, in the thread that created it.
class HttpGet final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(HttpGet)

public:
    static constexpr int transferTimeout = 60000; // milliseconds without a byte

    explicit HttpGet(QObject *parent = nullptr);

    // The page text; empty for every kind of failure. Runs a nested event loop until the transfer,
    // redirects included, is over, or the thread is told to quit.
    QString get(const QUrl &url);

    void setCodecName(const QString &name); // forces an encoding; empty: the page decides
    void setFollowRedirects(bool follow);
    void setSendReferer(bool send);
    void setTransferTimeout(int milliseconds);

    // True when nobody waits for the page any more: another fetch would end at once, empty.
    bool isStopped() const;

signals:
    void sigFinished(int nRe); // 1: there is text, 0: there is none; once per fetch

public slots:
    void httpFinished(QNetworkReply *reply);
    void stop(); // ends the fetch under way and refuses later ones

private:
    bool followRedirect(const QNetworkReply &reply);
    QString decode(const QByteArray &body) const;
    QString declaredCharset(const QString &page) const;

    QString m_pageText;
    QUrl m_url;
    QNetworkAccessManager m_manager;
    QString m_codecName;
    bool m_followRedirects = true;
    bool m_sendReferer = true;
    QString m_referer;
    qint32 m_redirectCount = 0; // over the fetcher's whole life
    int m_transferTimeout = transferTimeout;
    bool m_stopped = false;
};
