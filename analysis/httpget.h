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
    explicit HttpGet(QObject *parent = nullptr);

    // The page text; empty for every kind of failure. Runs a nested event loop until the transfer,
    // redirects included, is over.
    QString get(const QUrl &url);

    void setCodecName(const QString &name); // forces an encoding; empty: the page decides
    void setFollowRedirects(bool follow);
    void setSendReferer(bool send);

signals:
    void sigFinished(int nRe); // 1: there is text, 0: there is none; once per fetch

public slots:
    void httpFinished(QNetworkReply *reply);

private:
    QString decode(const QByteArray &body);

    QString m_pageText;
    QUrl m_url;
    QNetworkAccessManager m_manager;
    QString m_codecName;
    bool m_followRedirects = true;
    bool m_sendReferer = true;
    QString m_referer;
    qint32 m_redirectCount = 0; // over the fetcher's whole life
};
