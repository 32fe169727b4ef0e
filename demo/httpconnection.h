#pragma once

#include "httpserver.h"

#include <QElapsedTimer>
#include <QFile>
#include <QObject>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QTimer>

// One client of the HttpServer: takes its requests one after another and sends what the lookup
// answers. Lives in the server's thread and deletes itself when the connection is over.
class HttpConnection final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(HttpConnection)

public:
    using Lookup = std::function<HttpResponse(const HttpRequest &)>;
    // Plain when the configuration is null, else over TLS with its certificate.
    HttpConnection(qintptr socketDescriptor, const QSslConfiguration &tls, const Lookup &lookup,
                   QObject *parent);
    ~HttpConnection() override;

private:
    void readRequests();
    bool takeRequest(HttpRequest *request);
    void answer(const HttpRequest &request);
    void openBody();
    void selectRange(const HttpRequest &request);
    QByteArray head() const;
    qint64 waiting() const; // bytes that the socket has not sent yet
    void bytesAreOut();     // over TLS, where bytesWritten() only says that they are encrypted
    void pump();
    bool writeBlock(qint64 wanted);
    void endOfBody();
    bool hasHeader(const QByteArray &name) const;

    Lookup m_lookup;
    std::unique_ptr<QTcpSocket> m_socket;
    QSslSocket *m_secure = nullptr; // the same one, when it is over TLS
    QTimer m_sliceTimer;
    QElapsedTimer m_clock;
    QByteArray m_incoming;
    qint64 m_requestBodyLeft = 0;

    HttpResponse m_response;
    QFile m_file;
    bool m_sending = false;
    bool m_cutting = false;  // over TLS, once everything is sent
    bool m_closing = false;  // nothing more is said on this connection
    bool m_headOnly = false; // no body follows the headers
    bool m_keepAlive = true;
    qint64 m_total = 0;    // of the whole body
    qint64 m_start = 0;    // of the part that is sent
    qint64 m_end = 0;      // of the part that is sent
    qint64 m_position = 0; // next byte of the body
    qint64 m_sent = 0;     // body bytes handed to the socket
};
