#include "httpconnection.h"

#include <QVector>

namespace {
const qint64 blockSize = 256 * 1024;
const qint64 maxWaiting = 1024 * 1024;
const int maxHeadSize = 64 * 1024;
const int sliceMilliseconds = 20;
const qint64 patternPeriod = 1048573; // a prime, so no usual block size is a multiple of it

char scrambled(quint32 offset)
{
    return char(((offset + 1) * 2654435761u) >> 24);
}

void appendPattern(QByteArray *to, qint64 offset, qint64 count)
{
    static const QByteArray pattern = [] {
        QByteArray bytes(int(patternPeriod), Qt::Uninitialized);
        for (int i = 0; i < bytes.size(); ++i)
            bytes[i] = scrambled(quint32(i));
        return bytes;
    }();
    while (count > 0) {
        const qint64 from = offset % patternPeriod;
        const qint64 part = qMin(count, patternPeriod - from);
        to->append(pattern.constData() + from, int(part));
        offset += part;
        count -= part;
    }
}
} // namespace

char patternByte(qint64 offset)
{
    return scrambled(quint32(offset % patternPeriod));
}

HttpConnection::HttpConnection(qintptr socketDescriptor, const QSslConfiguration &tls,
                               const Lookup &lookup, QObject *parent)
    : QObject(parent)
    , m_lookup(lookup)
{
    if (tls.isNull()) {
        m_socket = std::make_unique<QTcpSocket>();
    } else {
        auto secure = std::make_unique<QSslSocket>();
        m_secure = secure.get();
        m_secure->setSslConfiguration(tls);
        connect(m_secure, &QSslSocket::encryptedBytesWritten, this, &HttpConnection::bytesAreOut);
        m_socket = std::move(secure);
    }
    m_socket->setReadBufferSize(maxHeadSize);
    connect(m_socket.get(), &QTcpSocket::readyRead, this, &HttpConnection::readRequests);
    connect(m_socket.get(), &QTcpSocket::bytesWritten, this, &HttpConnection::pump);
    connect(m_socket.get(), &QTcpSocket::disconnected, this, &QObject::deleteLater);
    m_sliceTimer.setInterval(sliceMilliseconds);
    connect(&m_sliceTimer, &QTimer::timeout, this, &HttpConnection::pump);
    if (!m_socket->setSocketDescriptor(socketDescriptor)) {
        deleteLater();
        return;
    }
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    if (m_secure)
        m_secure->startServerEncryption();
}

HttpConnection::~HttpConnection()
{
    m_socket->disconnect(this);
}

void HttpConnection::readRequests()
{
    HttpRequest request;
    while (!m_sending && !m_closing) {
        m_incoming += m_socket->read(maxHeadSize - m_incoming.size());
        const int skipped = int(qMin(m_requestBodyLeft, qint64(m_incoming.size())));
        m_incoming.remove(0, skipped);
        m_requestBodyLeft -= skipped;
        if (!takeRequest(&request)) {
            if (m_incoming.size() >= maxHeadSize)
                m_socket->abort();
            else if (m_socket->bytesAvailable() > 0)
                continue;
            return;
        }
        answer(request);
    }
}

bool HttpConnection::takeRequest(HttpRequest *request)
{
    while (m_incoming.startsWith("\r\n"))
        m_incoming.remove(0, 2);
    const int end = m_incoming.indexOf("\r\n\r\n");
    if (end < 0)
        return false;
    const QList<QByteArray> lines = m_incoming.left(end).replace("\r\n", "\n").split('\n');
    m_incoming.remove(0, end + 4);

    *request = HttpRequest();
    const QList<QByteArray> words = lines.first().split(' ');
    request->method = words.value(0);
    request->target = words.value(1);
    request->path = request->target.split('?').first();
    for (int i = 1; i < lines.size(); ++i) {
        const int colon = lines.at(i).indexOf(':');
        const QByteArray name = colon < 0 ? lines.at(i) : lines.at(i).left(colon);
        request->headers.append({name, lines.at(i).mid(colon + 1).trimmed()});
    }
    const QByteArray connection = request->header("Connection").toLower();
    m_keepAlive = words.value(2) == "HTTP/1.1" ? connection != "close" : connection == "keep-alive";
    m_requestBodyLeft = qMax(qint64(0), request->header("Content-Length").toLongLong());
    return true;
}

bool HttpConnection::hasHeader(const QByteArray &name) const
{
    for (const auto &header : m_response.headers) {
        if (header.first.compare(name, Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

void HttpConnection::answer(const HttpRequest &request)
{
    m_response = m_lookup(request);
    m_sending = true;
    if (m_response.closeBeforeHeaders) {
        m_socket->abort();
        return;
    }
    if (m_response.stallBeforeHeaders)
        return;

    openBody();
    m_start = 0;
    m_end = m_total;
    if (m_response.honourRange && m_response.status == 200)
        selectRange(request);
    m_position = m_start;
    m_sent = 0;
    m_headOnly = request.method == "HEAD";
    m_keepAlive = m_keepAlive && m_response.declaredLength < 0 &&
                  (m_response.chunked || m_response.sendContentLength);

    m_socket->write(head());
    if (m_headOnly)
        m_position = m_end;
    m_clock.start();
    if (m_response.bytesPerSecond > 0)
        m_sliceTimer.start();
    pump();
}

void HttpConnection::openBody()
{
    m_total = m_response.body.size();
    if (m_response.generatedBytes >= 0) {
        m_total = m_response.generatedBytes;
    } else if (!m_response.file.isEmpty()) {
        m_file.setFileName(m_response.file);
        if (m_file.open(QIODevice::ReadOnly)) {
            m_total = m_file.size();
        } else {
            m_response = HttpResponse::error(404);
            m_total = m_response.body.size();
        }
    }
}

void HttpConnection::selectRange(const HttpRequest &request)
{
    const QByteArray range = request.header("Range").trimmed();
    if (!range.startsWith("bytes=") || range.contains(','))
        return;
    const QByteArray first = range.mid(6, range.indexOf('-') - 6);
    const QByteArray last = range.mid(range.indexOf('-') + 1);
    bool firstOk = false;
    bool lastOk = false;
    const qint64 start = first.toLongLong(&firstOk);
    const qint64 end = last.isEmpty() ? m_total : last.toLongLong(&lastOk) + 1;
    if (!firstOk || !(lastOk || last.isEmpty()) || (lastOk && end <= start))
        return;
    if (start >= m_total) {
        const QByteArray size = "bytes */" + QByteArray::number(m_total);
        m_file.close();
        m_response = HttpResponse::error(416);
        m_response.headers.append({"Content-Range", size});
        m_total = m_response.body.size();
        m_end = m_total;
        return;
    }
    m_response.status = 206;
    m_start = start;
    m_end = qMin(end, m_total);
}

QByteArray HttpConnection::head() const
{
    const QByteArray reason = m_response.status < 400 ? "OK" : "Refused";
    QByteArray head = "HTTP/1.1 " + QByteArray::number(m_response.status) + ' ' + reason + "\r\n";
    const auto add = [&](const QByteArray &name, const QByteArray &value) {
        if (!hasHeader(name))
            head += name + ": " + value + "\r\n";
    };
    for (const auto &header : m_response.headers)
        head += header.first + ": " + header.second + "\r\n";
    if (!m_response.contentType.isEmpty())
        add("Content-Type", m_response.contentType);

    if (m_response.status == 206)
        add("Content-Range", "bytes " + QByteArray::number(m_start) + '-' +
                                 QByteArray::number(m_end - 1) + '/' + QByteArray::number(m_total));
    else if (m_response.honourRange && m_response.status == 200)
        add("Accept-Ranges", "bytes");
    if (m_response.chunked)
        add("Transfer-Encoding", "chunked");
    else if (m_response.declaredLength >= 0)
        add("Content-Length", QByteArray::number(m_response.declaredLength));
    else if (m_response.sendContentLength)
        add("Content-Length", QByteArray::number(m_end - m_start));
    add("Connection", m_keepAlive ? "keep-alive" : "close");
    return head + "\r\n";
}

qint64 HttpConnection::waiting() const
{
    return m_socket->bytesToWrite() + (m_secure ? m_secure->encryptedBytesToWrite() : 0);
}

void HttpConnection::bytesAreOut()
{
    if (m_cutting && waiting() == 0)
        m_socket->abort();
    else
        pump();
}

void HttpConnection::pump()
{
    if (!m_sending || m_response.stallBeforeHeaders ||
        m_socket->state() != QAbstractSocket::ConnectedState)
        return;
    while (m_position < m_end && waiting() < maxWaiting) {
        qint64 wanted = qMin(blockSize, m_end - m_position);
        if (m_response.cutAfter >= 0)
            wanted = qMin(wanted, m_response.cutAfter - m_sent);
        if (m_response.stallAfter >= 0)
            wanted = qMin(wanted, m_response.stallAfter - m_sent);
        if (m_response.bytesPerSecond > 0)
            wanted = qMin(wanted, m_clock.elapsed() * m_response.bytesPerSecond / 1000 - m_sent);
        if (wanted <= 0)
            break;
        if (!writeBlock(wanted)) {
            m_socket->abort();
            return;
        }
    }
    if (!m_headOnly && m_response.cutAfter >= 0 && m_sent >= m_response.cutAfter) {
        m_sliceTimer.stop();
        m_sending = false;
        m_closing = true;
        // An orderly close: a reset could take bytes back that were sent already. Over TLS that
        // would say goodbye, which no cut does, and so all there is goes out first.
        if (m_secure)
            m_cutting = true;
        else
            m_socket->disconnectFromHost();
        return;
    }
    const bool stalled =
        !m_headOnly && m_response.stallAfter >= 0 && m_sent >= m_response.stallAfter;
    if (m_position >= m_end && !stalled)
        endOfBody();
}

bool HttpConnection::writeBlock(qint64 wanted)
{
    QByteArray block;
    if (m_file.isOpen()) {
        block = m_file.seek(m_position) ? m_file.read(wanted) : QByteArray();
    } else if (m_response.generatedBytes >= 0) {
        block.reserve(int(wanted));
        appendPattern(&block, m_position, wanted);
    } else {
        block = m_response.body.mid(int(m_position), int(wanted));
    }
    if (block.isEmpty())
        return false;
    m_position += block.size();
    m_sent += block.size();
    if (m_response.chunked)
        block = QByteArray::number(block.size(), 16) + "\r\n" + block + "\r\n";
    return m_socket->write(block) == block.size();
}

void HttpConnection::endOfBody()
{
    if (m_response.chunked && !m_headOnly)
        m_socket->write("0\r\n\r\n");
    m_sliceTimer.stop();
    m_file.close();
    m_sending = false;
    if (!m_keepAlive) {
        m_closing = true;
        m_socket->disconnectFromHost();
        return;
    }
    // Requests that arrived meanwhile raise no further readyRead().
    QMetaObject::invokeMethod(this, &HttpConnection::readRequests, Qt::QueuedConnection);
}
