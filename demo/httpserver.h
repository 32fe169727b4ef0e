#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QMutex>
#include <QPair>
#include <QString>
#include <QThread>

#include <functional>
#include <memory>

// What a client asked for.
struct HttpRequest
{
    QByteArray method;
    QByteArray target;                               // path with query, as sent
    QByteArray path;                                 // without query, as sent
    QList<QPair<QByteArray, QByteArray>> headers;    // names as sent
    QByteArray header(const QByteArray &name) const; // value, case-insensitive; null when absent
};

// What the server answers, faults included. Plain data, set before the answer starts.
struct HttpResponse
{
    int status = 200;
    // As they stand, in order; one of these takes the place of the server's own of that name.
    QList<QPair<QByteArray, QByteArray>> headers;
    QByteArray contentType; // empty: no Content-Type
    QByteArray body;
    QString file;               // the body is this file instead, streamed, never read whole
    qint64 generatedBytes = -1; // the body is patternByte(offset) for that many bytes instead

    bool honourRange = true; // a Range request gets 206 (416 past the end) of the body
    bool chunked = false;    // Transfer-Encoding: chunked, no Content-Length
    bool sendContentLength = true;
    qint64 declaredLength = -1;      // a wrong Content-Length instead of the true one
    qint64 cutAfter = -1;            // closes the connection after that many body bytes
    qint64 stallAfter = -1;          // sends nothing more after that many body bytes, stays open
    bool stallBeforeHeaders = false; // takes the request and never answers
    bool closeBeforeHeaders = false; // takes the request and closes
    qint64 bytesPerSecond = 0;       // 0: as fast as it goes

    static HttpResponse text(const QByteArray &body,
                             const QByteArray &contentType = QByteArrayLiteral("text/html"));
    static HttpResponse error(int status, const QByteArray &body = QByteArray());
    static HttpResponse redirect(const QByteArray &location, int status = 302);
};

// The byte at an offset of a generated body: any shift or gap shows.
char patternByte(qint64 offset);

// A scriptable HTTP/1.1 server on 127.0.0.1, plain or over TLS, running in a thread of its own. All
// functions may be called from any thread; handlers run in the server's thread.
class HttpServer final
{
public:
    using Handler = std::function<HttpResponse(const HttpRequest &)>;

    HttpServer();
    ~HttpServer(); // stops listening and drops all connections
    HttpServer(const HttpServer &) = delete;
    HttpServer &operator=(const HttpServer &) = delete;

    // Over TLS from here on; call it before listen(). PEM files: the server's certificate, then
    // those between it and the authority, if any. False, and plain as before, when either cannot be
    // used.
    bool setCertificate(const QString &certificateFile, const QString &keyFile);
    bool listen(quint16 port = 0); // 0: any free port
    void close();                  // later connections are refused; open ones are dropped
    quint16 port() const;
    QString
    url(const QString &path = QStringLiteral("/")) const; // "http://127.0.0.1:PORT/...", or https

    // Answers for a path (without query); the longest registered prefix ending in "*" serves what
    // no exact path does. Everything else is a 404 with an HTML page.
    void setResponse(const QByteArray &path, const HttpResponse &response);
    // One answer per request, the last one from then on.
    void setResponses(const QByteArray &path, const QList<HttpResponse> &responses);
    void setHandler(const QByteArray &path, const Handler &handler);

    QList<HttpRequest> requests() const; // everything asked so far, in order
    QList<HttpRequest> requests(const QByteArray &path) const;
    void clearRequests();
    int openConnections() const;

private:
    class Private;
    std::unique_ptr<Private> d;
};
