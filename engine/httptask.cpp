#include "httptask.h"

#include "contentrange.h"
#include "cookies.h"
#include "downloaderror.h"
#include "jobrecord.h"
#include "logfile.h"
#include "platform.h"
#include "texts.h"
#include "trace.h"

#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QThread>
#include <QUrl>

namespace {

int statusOf(const QNetworkReply &reply)
{
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

// The part of a content type that serves as file extension; empty when there is none that can be
// part of a file name.
QString extensionOf(const QString &contentType)
{
    int separator = contentType.indexOf(QLatin1Char('-'));
    if (separator < 0)
        separator = contentType.indexOf(QLatin1Char('/'));
    if (separator < 0)
        return QString();
    const QString extension = contentType.mid(separator + 1);
    for (const QChar c : extension) {
        if (c == QLatin1Char('/') || c == QLatin1Char('\\') || c.category() == QChar::Other_Control)
            return QString();
    }
    return extension;
}

bool isPageExtension(const QString &extension)
{
    return extension.compare(QLatin1String("html"), Qt::CaseInsensitive) == 0 ||
           extension.compare(QLatin1String("htm"), Qt::CaseInsensitive) == 0;
}

bool isStreamType(const QString &contentType)
{
    const QString extension = extensionOf(contentType);
    return !extension.isEmpty() && !isPageExtension(extension) &&
           !contentType.startsWith(QLatin1String("text/html"), Qt::CaseInsensitive);
}

} // namespace

HttpTask::HttpTask(JobRecord &record, const QString &outputFolder, int stallTimeout)
    : m_record(record)
    , m_outputFolder(outputFolder)
    , m_stallTimeout(stallTimeout)
    , m_file(new QFile(this))
    , m_manager(new QNetworkAccessManager(this))
{
}

bool HttpTask::prepareCookies()
{
    Cookies cookies;
    cookies.setTransferTimeout(m_stallTimeout);
    const QString text = cookies.start(m_record.page + QStringLiteral("&hl=en_US&persist_hl=0"));
    m_record.video_cookies = text;
    return !text.isEmpty();
}

void HttpTask::startRequest()
{
    // The job may have been paused while the cookies were on their way.
    if (QThread::currentThread()->isInterruptionRequested())
        return;
    const bool hasCookies = !m_record.video_cookies.text().isEmpty();
    if (hasCookies && m_record.download_time != dayOfYear()) {
        m_record.refreshVideoUrl();
        if (QThread::currentThread()->isInterruptionRequested())
            return;
    }
    if (!hasCookies) {
        endWith(NoCookies);
        return;
    }
    m_resumeFrom = 0;
    if (m_record.download_bytes > 0 && !prepareResume())
        return;
    sendRequest();
}

bool HttpTask::prepareResume()
{
    const QString path = m_record.video_mame;
    if (path.isEmpty() || !QFile::exists(path)) {
        // Deleted after a failure or by hand: there is nothing to go on from.
        forgetSource();
        return true;
    }
    if (openSource() != 0) {
        reportFileError(m_file->error());
        return false;
    }
    const qint64 size = m_file->size();
    if (m_record.download_bytes != size) {
        m_record.download_bytes = qMin<qint64>(m_record.download_bytes, size);
    } else if (size == m_record.total_bytes) {
        endWell();
        return false;
    }
    m_resumeFrom = m_record.download_bytes;
    // What lies behind the stored count would be left over behind the end of the video.
    if (size > m_resumeFrom && !m_file->resize(m_resumeFrom)) {
        reportFileError(QFile::ResizeError);
        return false;
    }
    if (!m_file->seek(m_resumeFrom)) {
        reportFileError(m_file->error());
        return false;
    }
    // The state is Start already, and writing it from here could undo a pause that arrives now.
    m_record.changeFlags.set(StateChanged);
    return true;
}

void HttpTask::sendRequest()
{
    const QUrl url(m_record.video_url);
    TRACE() << "request:" << url.toString();
    QNetworkRequest request(url);
    request.setTransferTimeout(m_stallTimeout);
    // Cookies of an earlier answer of this attempt must not take the place of the page's.
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    // Anything else would be unpacked on the way, and no offset of the file would be true.
    request.setRawHeader("Accept-Encoding", "identity");
    if (!m_record.video_usser_agent.isEmpty())
        request.setRawHeader("User-Agent", m_record.video_usser_agent.toLatin1());
    request.setRawHeader("Cookie", m_record.video_cookies.text().toLatin1());
    if (m_resumeFrom > 0)
        request.setRawHeader("Range", "bytes=" + QByteArray::number(m_resumeFrom) + '-');
    for (const QByteArray &name : request.rawHeaderList())
        TRACE() << name << request.rawHeader(name);

    m_bytesReceived = 0;
    m_body = Body::Undecided;
    m_reply = m_manager->get(request);
    // Without a limit the network layer would take the whole stream into memory.
    m_reply->setReadBufferSize(ReadBufferSize);
    if (m_reply->isFinished()) {
        if (m_reply->error() == QNetworkReply::NoError)
            onFinished();
        else
            onNetworkError(m_reply->error());
        return;
    }
    connect(m_reply, &QNetworkReply::readyRead, this, &HttpTask::onReadyRead);
    connect(m_reply, &QNetworkReply::finished, this, &HttpTask::onFinished);
    connect(m_reply, &QNetworkReply::errorOccurred, this, &HttpTask::onNetworkError);
}

void HttpTask::startOver()
{
    TRACE() << "start over" << m_record.video_mame.text();
    releaseReply();
    m_file->close();
    forgetSource();
    sendRequest();
}

void HttpTask::forgetSource()
{
    // First, so that whoever sees the count go down also sees why.
    m_record.sourceGeneration += 1;
    m_record.download_bytes = 0;
    m_record.total_bytes = -1;
    m_resumeFrom = 0;
}

int HttpTask::openSource()
{
    m_file->close();
    m_file->setFileName(m_record.video_mame);
    return m_file->open(QIODevice::ReadWrite | QIODevice::Unbuffered) ? 0 : FileError;
}

int HttpTask::createSource(const QString &contentType)
{
    const QString extension = extensionOf(contentType);
    if (extension.isEmpty())
        return NoContentType;
    if (isPageExtension(extension))
        return HtmlInsteadOfVideo;
    QString path = m_outputFolder + m_record.guid;
    if (m_record.output_format != 0)
        path += QStringLiteral("_temp");
    path += QLatin1Char('.') + extension;
    // A file that is open cannot be opened again.
    m_file->close();
    m_file->setFileName(path);
    if (!m_file->open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered))
        return FileError;
    // The type or the folder may have changed since the last attempt.
    const QString before = m_record.video_mame;
    if (!before.isEmpty() && before != path)
        platform::removeFile(before);
    m_record.video_mame = path;
    emit sigSourceCreated();
    return 0;
}

void HttpTask::reportFileError(QFile::FileError error)
{
    switch (error) {
    case QFile::WriteError:
        return endWith(FileWriteError);
    case QFile::OpenError:
        return endWith(FileOpenError);
    case QFile::PositionError:
        return endWith(FilePositionError);
    case QFile::ResizeError:
        return endWith(FileResizeError);
    case QFile::PermissionsError:
        return endWith(FilePermissionsError);
    default:
        return endWith(FileError);
    }
}

HttpTask::Body HttpTask::judgeAnswer()
{
    const int status = statusOf(*m_reply);
    // The page of an error answer arrives before the error is known.
    if (status >= 400)
        return Body::Ignored;
    // Asked for the plain bytes, and got them packed all the same (by a proxy, as a rule): stored,
    // they would be no video, and no offset would be true. An attempt without a byte is what it
    // amounts to: the job tries again and says so when it is no use.
    const QByteArray encoding = m_reply->rawHeader("Content-Encoding").trimmed().toLower();
    if (!encoding.isEmpty() && encoding != "identity") {
        LogFile::instance()->write(
            QStringLiteral("Download:"),
            QStringLiteral("Failed(Content-Encoding %1)").arg(QString::fromLatin1(encoding)));
        endWell();
        return Body::Undecided;
    }
    const ContentRange range = parseContentRange(m_reply->rawHeader("Content-Range"));
    if (m_resumeFrom > 0) {
        if (status == 206) {
            const qint64 known = m_record.total_bytes;
            const bool sameFile = known < 0 || range.total < 0 || range.total == known;
            if (range.first != m_resumeFrom || !sameFile) {
                startOver();
                return Body::Undecided;
            }
            if (known < 0)
                m_record.total_bytes = range.total;
            return Body::Stored;
        }
        if (status != 200)
            return Body::Ignored;
        // A page in place of the stream, such as a network's log-in, is no reason to give up what
        // is here already.
        if (!isStreamType(m_reply->header(QNetworkRequest::ContentTypeHeader).toString())) {
            endWith(QNetworkReply::UnknownContentError);
            return Body::Undecided;
        }
        // The server does not know ranges: this is the whole stream.
        forgetSource();
    } else if (status == 206 && range.first > 0) {
        return Body::Ignored;
    }
    if (!beginFile())
        return Body::Undecided;
    // A part that nobody asked for: the rest is fetched like after any short transfer.
    if (status == 206 && range.total >= 0)
        m_record.total_bytes = range.total;
    return Body::Stored;
}

bool HttpTask::beginFile()
{
    const QString contentType = m_reply->header(QNetworkRequest::ContentTypeHeader).toString();
    m_record.contentType = contentType;
    TRACE() << "Content Type :" << contentType;
    const int result = createSource(contentType);
    if (result == HtmlInsteadOfVideo || result == NoContentType) {
        endWith(result);
        return false;
    }
    if (result != 0) {
        reportFileError(m_file->error());
        return false;
    }
    bool ok = false;
    const qint64 length = m_reply->header(QNetworkRequest::ContentLengthHeader).toLongLong(&ok);
    if (!ok) {
        endWith(NoContentLength);
        return false;
    }
    TRACE() << "Content Length:" << length;
    m_record.total_bytes = length;
    return true;
}

void HttpTask::onReadyRead()
{
    if (m_ended || !m_reply || m_reply->error() != QNetworkReply::NoError)
        return;
    if (m_body == Body::Undecided) {
        const Body body = judgeAnswer();
        if (body == Body::Undecided)
            return;
        m_body = body;
    }
    if (m_body == Body::Ignored)
        m_reply->readAll();
    else
        storeAvailable();
}

void HttpTask::storeAvailable()
{
    const qint64 available = m_reply->bytesAvailable();
    if (available <= 0)
        return;
    m_bytesReceived += available;
    const QByteArray chunk = m_reply->readAll();
    if (m_file->write(chunk) != chunk.size()) {
        reportFileError(m_file->error());
        return;
    }
    m_record.download_bytes += chunk.size();
    if (m_record.output_format == 0)
        m_record.changeFlags.set(ProgressChanged);
    TRACE() << m_record.video_mame.text() << "File Write:" << chunk.size() << '/'
            << m_record.download_bytes;
    if (m_file->flush())
        emit sigReceive(chunk.size());
}

void HttpTask::onFinished()
{
    if (m_ended || !m_reply)
        return;
    TRACE() << "HttpTask(Finished):" << m_reply->error();
    if (m_reply->error() != QNetworkReply::NoError)
        return; // the error slot has it
    if (m_reply->bytesAvailable() > 0)
        onReadyRead(); // what arrived together with the end
    if (!m_ended && m_reply && m_reply->isFinished())
        endWell();
}

void HttpTask::onNetworkError(QNetworkReply::NetworkError code)
{
    if (m_ended || !m_reply)
        return;
    const int status = statusOf(*m_reply);
    TRACE() << "HttpTask(Error):" << code << m_reply->errorString() << status;
    if (status == 416 && m_resumeFrom > 0) {
        if (completeAccordingTo(*m_reply))
            endWell();
        else
            startOver();
        return;
    }
    // The time-out of the network layer looks like an abort, which a job ignores.
    if (code == QNetworkReply::OperationCanceledError)
        code = QNetworkReply::TimeoutError;
    endWith(code);
}

// A range past the end: either every byte is here already, or the file on the server is another.
bool HttpTask::completeAccordingTo(const QNetworkReply &answer)
{
    const qint64 total = parseContentRange(answer.rawHeader("Content-Range")).total;
    const qint64 known = m_record.total_bytes;
    if (total != m_resumeFrom || (known >= 0 && known != total))
        return false;
    m_record.total_bytes = total;
    return true;
}

void HttpTask::stopTransfer()
{
    m_ended = true;
    releaseReply();
    m_file->close();
}

void HttpTask::releaseReply()
{
    if (!m_reply)
        return;
    m_reply->disconnect(this);
    // One that failed is not to be aborted: the network layer is still saying so.
    if (!m_reply->isFinished() && m_reply->error() == QNetworkReply::NoError)
        m_reply->abort();
    m_reply->deleteLater();
    m_reply = nullptr;
}

void HttpTask::endWell()
{
    m_ended = true;
    m_file->close();
    releaseReply();
    TRACE() << "emit sigFinished()";
    emit sigFinished();
}

void HttpTask::endWith(qint32 error)
{
    m_ended = true;
    releaseReply();
    m_file->close();
    emit sigError(error);
}
