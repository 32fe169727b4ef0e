#include "httpserver.h"

#include "httpconnection.h"

#include <QFile>
#include <QSslConfiguration>
#include <QSslKey>
#include <QTcpServer>

#include <atomic>
#include <future>

namespace {
struct Route
{
    QList<HttpResponse> responses;
    HttpServer::Handler handler;
};

// Hands on the descriptors of new clients.
class Listener final : public QTcpServer
{
public:
    explicit Listener(const std::function<void(qintptr)> &accept)
        : m_accept(accept)
    {
    }

protected:
    void incomingConnection(qintptr descriptor) override { m_accept(descriptor); }

private:
    std::function<void(qintptr)> m_accept;
};
} // namespace

QByteArray HttpRequest::header(const QByteArray &name) const
{
    for (const auto &header : headers) {
        if (header.first.compare(name, Qt::CaseInsensitive) == 0)
            return header.second.isNull() ? QByteArray("") : header.second;
    }
    return QByteArray();
}

HttpResponse HttpResponse::text(const QByteArray &body, const QByteArray &contentType)
{
    HttpResponse response;
    response.body = body;
    response.contentType = contentType;
    return response;
}

HttpResponse HttpResponse::error(int status, const QByteArray &body)
{
    const QByteArray number = QByteArray::number(status);
    HttpResponse response =
        text(body.isEmpty() ? "<html><head><title>" + number + "</title></head><body>Error " +
                                  number + "</body></html>\n"
                            : body);
    response.status = status;
    return response;
}

HttpResponse HttpResponse::redirect(const QByteArray &location, int status)
{
    HttpResponse response = text("<html><body>Moved</body></html>\n");
    response.status = status;
    response.headers.append({"Location", location});
    return response;
}

class HttpServer::Private
{
public:
    // Runs a function in the server's thread and waits for it.
    template <typename Function>
    void inThread(Function function)
    {
        if (QThread::currentThread() == &thread) {
            function();
            return;
        }
        std::promise<void> done;
        const auto call = [&] {
            function();
            done.set_value();
        };
        QMetaObject::invokeMethod(context.get(), call, Qt::QueuedConnection);
        done.get_future().wait();
    }
    void accept(qintptr descriptor);
    HttpResponse lookUp(const HttpRequest &request);

    QThread thread;
    std::unique_ptr<QObject> context = std::make_unique<QObject>();
    std::unique_ptr<Listener> listener;   // server's thread
    std::unique_ptr<QObject> connections; // server's thread; parent of all connections
    QSslConfiguration tls;                // null: plain
    std::atomic<quint16> port{0};
    std::atomic<int> open{0};

    mutable QMutex mutex; // guards what follows
    QMap<QByteArray, Route> routes;
    QList<HttpRequest> requests;
};

void HttpServer::Private::accept(qintptr descriptor)
{
    auto *connection = new HttpConnection(
        descriptor, tls, [this](const HttpRequest &request) { return lookUp(request); },
        connections.get());
    ++open;
    QObject::connect(connection, &QObject::destroyed, context.get(), [this] { --open; });
}

HttpResponse HttpServer::Private::lookUp(const HttpRequest &request)
{
    Handler handler;
    {
        const QMutexLocker lock(&mutex);
        requests.append(request);
        auto found = routes.find(request.path);
        for (int length = request.path.size(); found == routes.end() && length >= 0; --length)
            found = routes.find(request.path.left(length) + '*');
        if (found == routes.end())
            return HttpResponse::error(404);
        if (!found->handler) {
            return found->responses.size() > 1 ? found->responses.takeFirst()
                                               : found->responses.value(0);
        }
        handler = found->handler;
    }
    return handler(request);
}

HttpServer::HttpServer()
    : d(std::make_unique<Private>())
{
    d->thread.setObjectName(QStringLiteral("HttpServer"));
    d->context->moveToThread(&d->thread);
    d->thread.start();
}

HttpServer::~HttpServer()
{
    close();
    d->thread.quit();
    d->thread.wait();
}

bool HttpServer::setCertificate(const QString &certificateFile, const QString &keyFile)
{
    const QList<QSslCertificate> chain = QSslCertificate::fromPath(certificateFile);
    QFile file(keyFile);
    const QByteArray pem = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    QSslKey key(pem, QSsl::Ec);
    if (key.isNull())
        key = QSslKey(pem, QSsl::Rsa);
    if (chain.isEmpty() || key.isNull())
        return false;
    d->tls = QSslConfiguration::defaultConfiguration();
    d->tls.setLocalCertificateChain(chain);
    d->tls.setPrivateKey(key);
    return true;
}

bool HttpServer::listen(quint16 port)
{
    bool ok = false;
    d->inThread([&] {
        d->listener = std::make_unique<Listener>([this](qintptr socket) { d->accept(socket); });
        d->connections = std::make_unique<QObject>();
        ok = d->listener->listen(QHostAddress::LocalHost, port);
        d->port = ok ? d->listener->serverPort() : 0;
    });
    return ok;
}

void HttpServer::close()
{
    d->inThread([this] {
        d->listener.reset();
        // A handler may be the caller, and its connection must outlive it.
        if (d->connections)
            d->connections.release()->deleteLater();
    });
}

quint16 HttpServer::port() const
{
    return d->port;
}

QString HttpServer::url(const QString &path) const
{
    const QString scheme = d->tls.isNull() ? QStringLiteral("http") : QStringLiteral("https");
    return QStringLiteral("%1://127.0.0.1:%2").arg(scheme).arg(port()) + path;
}

void HttpServer::setResponse(const QByteArray &path, const HttpResponse &response)
{
    setResponses(path, {response});
}

void HttpServer::setResponses(const QByteArray &path, const QList<HttpResponse> &responses)
{
    const QMutexLocker lock(&d->mutex);
    d->routes[path] = Route{responses, Handler()};
}

void HttpServer::setHandler(const QByteArray &path, const Handler &handler)
{
    const QMutexLocker lock(&d->mutex);
    d->routes[path] = Route{{}, handler};
}

QList<HttpRequest> HttpServer::requests() const
{
    const QMutexLocker lock(&d->mutex);
    return d->requests;
}

QList<HttpRequest> HttpServer::requests(const QByteArray &path) const
{
    QList<HttpRequest> found;
    for (const HttpRequest &request : requests()) {
        if (request.path == path)
            found.append(request);
    }
    return found;
}

void HttpServer::clearRequests()
{
    const QMutexLocker lock(&d->mutex);
    d->requests.clear();
}

int HttpServer::openConnections() const
{
    return d->open;
}
