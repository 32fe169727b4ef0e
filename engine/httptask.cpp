#include "httptask.h"

#include "awaitedget.h"
#include "contenttype.h"
#include "cookies.h"
#include "downloaderror.h"
#include "jobrecord.h"
#include "logfile.h"
#include "networkaccess.h"
#include "platform.h"
#include "redirect.h"
#include "streamexchange.h"
#include "texts.h"
#include "trace.h"

#include <QThread>

#include <utility>

static void logFailure(const QString &reason)
{
    LogFile::instance()->write(QStringLiteral("Download:"),
                               QStringLiteral("Failed(%1)").arg(reason));
}

HttpTask::HttpTask(JobRecord &record, const SiteAccess &access, const QString &outputFolder,
                   int stallTimeout, std::function<void()> renewAddress)
    : m_record(record)
    , m_access(access)
    , m_outputFolder(outputFolder)
    , m_stallTimeout(stallTimeout)
    , m_renewAddress(std::move(renewAddress))
    , m_manager(new NetworkAccess(this))
{
}

bool HttpTask::prepareCookies()
{
    Cookies cookies(m_stallTimeout);
    m_record.video_cookies = cookies.start(m_access, m_manager->cookieJar());
    m_pageAnswers = cookies.error() == 0;
    m_untrusted = cookies.untrusted();
    const bool found = !m_record.video_cookies.text().isEmpty();
    // The attempt is going to end for want of them, and this is the reason.
    if (!found && m_access.cookiesDemanded && cookies.error() != 0)
        emit sigTrouble({cookies.error(), QString()});
    return found;
}

void HttpTask::startRequest()
{
    // The job may have been paused while the cookies were on their way.
    if (QThread::currentThread()->isInterruptionRequested())
        return;
    m_record.keepsSource = false;
    if (!m_untrusted.isEmpty())
        return endRefused(QNetworkReply::SslHandshakeFailedError, m_untrusted);
    if (m_access.cookiesDemanded && m_record.video_cookies.text().isEmpty())
        return endWith(NoCookies);
    if (m_pageAnswers && m_record.download_time != dayOfYear()) {
        m_renewAddress();
        if (QThread::currentThread()->isInterruptionRequested())
            return;
    }
    m_resumeFrom = 0;
    if (m_record.download_bytes > 0 && !prepareResume())
        return;
    ask(QUrl(m_record.video_url), 0);
}

bool HttpTask::prepareResume()
{
    const QString path = m_record.video_mame;
    if (path.isEmpty() || !QFile::exists(path)) {
        // Deleted after a failure or by hand: there is nothing to go on from.
        m_record.forgetSource();
        return true;
    }
    if (openSource() != 0) {
        endWithSourceError();
        return false;
    }
    const qint64 size = m_source.size();
    if (size == 0) {
        // Emptied behind our back: what comes now need not be the stream that was here.
        m_record.forgetSource();
        return true;
    }
    if (m_record.download_bytes != size) {
        m_record.download_bytes = qMin<qint64>(m_record.download_bytes, size);
    } else if (size == m_record.total_bytes) {
        endWell();
        return false;
    }
    m_resumeFrom = m_record.download_bytes;
    // What lies behind the stored count would be left over behind the end of the video.
    if (!m_source.continueAt(m_resumeFrom)) {
        endWithSourceError();
        return false;
    }
    // The state is Start already, and writing it from here could undo a pause that arrives now.
    m_record.changeFlags.set(StateChanged);
    return true;
}

void HttpTask::ask(const QUrl &address, int redirects)
{
    m_redirects = redirects;
    m_bytesReceived = 0;
    m_body = Body::Undecided;
    m_untrusted.clear();
    m_reply =
        m_manager->get(streamRequest(m_record, m_access, address, m_resumeFrom, m_stallTimeout));
    // Without a limit the network layer would take the whole stream into memory.
    m_reply->setReadBufferSize(ReadBufferSize);
    if (m_reply->isFinished())
        return m_reply->error() == QNetworkReply::NoError ? onFinished()
                                                          : onNetworkError(m_reply->error());
    connect(m_reply, &QNetworkReply::readyRead, this, &HttpTask::onReadyRead);
    connect(m_reply, &QNetworkReply::finished, this, &HttpTask::onFinished);
    connect(m_reply, &QNetworkReply::errorOccurred, this, &HttpTask::onNetworkError);
    connect(m_reply, &QNetworkReply::sslErrors, this,
            [this](const QList<QSslError> &errors) { m_untrusted = untrusted(errors); });
}

bool HttpTask::followRedirect()
{
    const Redirect redirect =
        Redirect::of(*m_reply, m_access, m_access.streamRedirects, m_redirects);
    if (!redirect.refusal.isEmpty()) {
        // Another mirror may do better; with nothing to lose, the person is better told.
        endRefused(m_record.download_bytes > 0 ? qint32(QNetworkReply::InsecureRedirectError)
                                               : qint32(RedirectRefused),
                   redirect.refusal);
    } else if (redirect.follow) {
        releaseReply(m_reply, this);
        ask(redirect.to, m_redirects + 1);
    }
    return redirect.follow || !redirect.refusal.isEmpty();
}

int HttpTask::openSource()
{
    return m_source.open(m_record.video_mame) ? 0 : FileError;
}

int HttpTask::createSource(const QString &contentType, qint64 total)
{
    if (const qint32 error = sourceTypeError(contentType); error != 0)
        return error;
    const QString path = SourceFile::pathFor(
        m_outputFolder, m_record.guid, m_record.output_format != 0, sourceExtension(contentType));
    if (!m_source.prepare(path, total))
        return FileError;
    if (m_record.download_bytes > 0)
        m_record.forgetSource();
    if (!m_source.empty())
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
    endWith(SourceFile::downloadError(error));
}

void HttpTask::endWithSourceError()
{
    const QString refusal = m_source.refusal();
    if (!refusal.isEmpty()) {
        logFailure(refusal);
        // Nothing is wrong with what is here; it goes on when there is room.
        m_record.keepsSource = m_record.download_bytes > 0;
    }
    emit sigTrouble(m_source.trouble());
    reportFileError(m_source.error());
}

void HttpTask::judgeAnswer()
{
    if (followRedirect())
        return;
    const AnswerHead head = headOf(*m_reply);
    const StreamAnswer answer =
        StreamAnswer::to({m_resumeFrom, m_record.download_bytes, m_record.total_bytes,
                          m_record.validator.text().toLatin1(), m_access.pagesRefused},
                         head);
    switch (answer.kind) {
    case StreamAnswer::Append:
        if (!m_source.reserve(answer.total)) {
            endWithSourceError();
            break;
        }
        m_record.total_bytes = answer.total;
        m_body = Body::Stored;
        break;
    case StreamAnswer::Begin:
        beginSource(head, answer.total);
        break;
    case StreamAnswer::Ignore:
        m_body = Body::Ignored;
        break;
    case StreamAnswer::StartOver:
        // What is here stays until an answer comes that can take its place.
        TRACE() << "start over" << m_record.video_mame.text();
        releaseReply(m_reply, this);
        m_resumeFrom = 0;
        ask(QUrl(m_record.video_url), 0);
        break;
    case StreamAnswer::Complete:
        m_record.total_bytes = answer.total;
        endWell();
        break;
    case StreamAnswer::Short:
        logFailure(QStringLiteral("Content-Encoding ") + QString::fromLatin1(head.encoding));
        endWell();
        break;
    case StreamAnswer::Fail:
        endWith(answer.code);
        break;
    }
}

void HttpTask::beginSource(const AnswerHead &head, qint64 total)
{
    m_record.contentType = head.contentType;
    TRACE() << "Content Type :" << head.contentType;
    if (createSource(head.contentType, total) != 0) {
        endWithSourceError();
        return;
    }
    TRACE() << "Content Length:" << total;
    m_record.total_bytes = total;
    // Last: one who finds it stored beside an older count finds the new file, too.
    m_record.validator = QString::fromLatin1(head.validator());
    m_body = Body::Stored;
}

void HttpTask::onReadyRead()
{
    if (m_ended || !m_reply || m_reply->error() != QNetworkReply::NoError)
        return;
    // The page of an error answer arrives before the error, which decides.
    if (m_body == Body::Undecided && headOf(*m_reply).status < 400)
        judgeAnswer();
    if (m_ended || !m_reply)
        return;
    if (m_body == Body::Stored)
        storeAvailable();
    else
        m_reply->skip(m_reply->bytesAvailable());
}

void HttpTask::storeAvailable()
{
    const qint64 available = m_reply->bytesAvailable();
    if (available <= 0)
        return;
    m_bytesReceived += available;
    const QByteArray chunk = m_reply->readAll();
    if (!m_source.append(chunk)) {
        endWithSourceError();
        return;
    }
    m_record.download_bytes += chunk.size();
    if (m_record.output_format == 0)
        m_record.changeFlags.set(ProgressChanged);
    TRACE() << m_record.video_mame.text() << "File Write:" << chunk.size() << '/'
            << m_record.download_bytes;
    if (m_source.flush())
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
    else if (m_body == Body::Undecided && !followRedirect() && m_record.download_bytes > 0)
        judgeAnswer(); // one without a body must not cost what is here either
    if (!m_ended && m_reply && m_reply->isFinished())
        endWell();
}

void HttpTask::onNetworkError(QNetworkReply::NetworkError code)
{
    if (m_ended || !m_reply)
        return;
    const int status = headOf(*m_reply).status;
    TRACE() << "HttpTask(Error):" << code << m_reply->errorString() << status;
    // Where a redirect leads stands in its head, whatever became of the rest.
    if (m_body == Body::Undecided && followRedirect())
        return;
    if (status >= 400) {
        judgeAnswer();
        if (m_body != Body::Ignored)
            return;
    }
    // The time-out of the network layer looks like an abort, which a job ignores.
    if (code == QNetworkReply::OperationCanceledError)
        code = QNetworkReply::TimeoutError;
    // One that is not trusted now may be on the network at home, or once the clock is right.
    if (m_untrusted.isEmpty())
        return endWith(code);
    endRefused(code, m_untrusted);
}

void HttpTask::stopTransfer()
{
    m_ended = true;
    releaseReply(m_reply, this);
}

void HttpTask::endRefused(qint32 error, const QString &reason)
{
    logFailure(reason);
    emit sigTrouble({error, reason});
    endWith(error);
}

void HttpTask::endWell()
{
    if (!m_source.close()) {
        endWithSourceError();
        return;
    }
    m_ended = true;
    releaseReply(m_reply, this);
    TRACE() << "emit sigFinished()";
    emit sigFinished();
}

void HttpTask::endWith(qint32 error)
{
    m_ended = true;
    releaseReply(m_reply, this);
    m_source.close();
    emit sigError(error);
}
