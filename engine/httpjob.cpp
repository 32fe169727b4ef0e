#include "httpjob.h"

#include "downloaderror.h"
#include "files.h"
#include "httpthread.h"
#include "logfile.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "platform.h"
#include "siteaccess.h"
#include "texts.h"
#include "trace.h"

#include <QFile>
#include <QFileInfo>
#include <QNetworkReply>

namespace {

void writeLog(const char *tag, const QString &text)
{
    LogFile::instance()->write(QLatin1String(tag), text);
}

} // namespace

HttpJob::HttpJob(const JobSurroundings &surroundings)
    : m_surroundings(surroundings)
    , m_startTick(platform::tickCount())
{
}

HttpJob::~HttpJob()
{
    TRACE() << "~HttpJob";
    // The transfer writes into the record, which is gone before the children are.
    stopThread();
}

HttpJob::Work &HttpJob::work()
{
    if (m_work)
        return *m_work;
    m_work.reset(
        new Work{TransferRetries(m_surroundings.delays), {record, m_surroundings.profiles}});
    connect(&m_work->retries, &TransferRetries::due, this, &HttpJob::onDownloadRetry);
    connect(&m_work->feed, &ConversionFeed::converted, this, &HttpJob::onConvertFinished);
    connect(&m_work->feed, &ConversionFeed::failed, this, &HttpJob::onConvertError);
    connect(&m_work->feed, &ConversionFeed::sourceCut, this, &HttpJob::onSourceCut);
    return *m_work;
}

void HttpJob::init(const VideoInfo &info, int id)
{
    const VideoStream &stream = info.streams.at(info.selectedStream);
    TRACE() << stream.videoAddress << "Start";
    record.page = info.pageUrl;
    record.title = nameFromTitle(info.title);
    record.id = id;
    record.video_url =
        siteAccess(info.pageUrl, m_surroundings.secureHosts).keptAddress(stream.videoAddress);
    record.video_type = stream.type;
    record.video_dimension = stream.dimension;
    record.duration = stream.length.toInt();
    record.download_bytes = 0;
    record.total_bytes = -1;
    record.video_state = JobState::Start;
    record.contentType = QString();
    record.video_mame = QString();
    record.output_name.clear();
    record.video_usser_agent.clear();
    record.video_cookies = QString();
    record.changeFlags.clear(~0u);
    record.spend_time = 0;
    record.output_format = m_surroundings.options.outputFormat;
    record.quality_index = m_surroundings.options.sourceQuality;
    record.guid = newGuidText();
    record.download_time = dayOfYear();
}

void HttpJob::start()
{
    if (record.video_state == JobState::PauseFinishes) {
        finish();
        return;
    }
    m_startTick = platform::tickCount();
    if (record.video_state == JobState::Finished)
        return;
    record.changeFlags.set(StateChanged);
    record.video_state = JobState::Start;
    if (m_thread && m_thread->isRunning()) {
        prepareConversion();
        return;
    }
    // -1 would have the transfer's thread look for the quality in the options.
    if (record.quality_index < 0)
        record.quality_index = qMax(0, m_surroundings.profiles.qualities().size() - 1);
    work().retries.reset();
    prepareConversion();
    // A conversion that could not begin has ended the job already.
    if (isRunning())
        startTransfer();
}

void HttpJob::startTransfer()
{
    work().retries.cancel();
    if (record.download_bytes == record.total_bytes) {
        if (work().feed.isOpen() || QFile::exists(record.video_mame)) {
            // A pause or an error may have come before the end of the transfer was heard of.
            if (!work().feed.drainBegan())
                onDownloadFinished();
            return;
        }
        // Complete once, but gone since: there is only the way from the beginning.
        record.forgetSource();
    }
    if (m_thread)
        m_thread->abandon();
    m_thread = nullptr;
    m_surroundings.turns->wait(this, [this] { startThread(); });
}

void HttpJob::startThread()
{
    m_thread =
        new HttpThread(this, m_surroundings.options.outputFolder, m_surroundings.delays.stall);
    m_startTick = platform::tickCount();
    m_thread->start(QThread::InheritPriority);
    if (!m_thread->isRunning() && !m_thread->isFinished()) {
        // The system had none to give; nothing else would ever be heard of this attempt.
        writeLog("Download:", QStringLiteral("Failed(no thread)"));
        onDownloadError(QNetworkReply::UnknownNetworkError);
    }
}

void HttpJob::stopThread()
{
    m_surroundings.turns->leave(this);
    if (m_thread) {
        m_thread->abandon();
        m_thread = nullptr;
    }
    if (m_work)
        m_work->retries.cancel();
}

void HttpJob::pause()
{
    record.spend_time += platform::tickCount() - m_startTick;
    record.video_state = JobState::Stopped;
    record.changeFlags.set(StateChanged);
    if (m_work)
        m_work->feed.pause();
    stopThread();
}

void HttpJob::stop()
{
    record.spend_time += platform::tickCount() - m_startTick;
    stopThread();
    if (m_work)
        m_work->feed.stop();
}

void HttpJob::remove(bool deleteFiles)
{
    if (deleteFiles)
        record.deleteFiles(); // a file that stays is no reason to keep the job
}

qint32 HttpJob::elapsed() const
{
    qint64 milliseconds = record.spend_time;
    if (isRunning())
        milliseconds += platform::tickCount() - m_startTick;
    return static_cast<qint32>(milliseconds);
}

bool HttpJob::canStart() const
{
    const JobState state = record.video_state;
    return state == JobState::Stopped || state == JobState::PauseFinishes ||
           state == JobState::Errored;
}

bool HttpJob::isRunning() const
{
    return record.video_state == JobState::Start;
}

void HttpJob::prepareConversion()
{
    if (!work().feed.prepare())
        onConvertError(ConversionNotStarted);
}

void HttpJob::onDownloadReceive(qint64)
{
    if (!work().feed.feed())
        onConvertError(ConversionNotStarted);
}

void HttpJob::onDownloadFinished()
{
    const qint64 total = record.total_bytes;
    // Deleted or cut behind our back: what was counted is not there. A conversion notices that
    // itself, and goes on with a file that is deleted but open.
    if (record.output_format == 0 && record.download_bytes == total &&
        QFileInfo(record.video_mame).size() != total)
        record.forgetSource();
    if (record.download_bytes != record.total_bytes) {
        retryAfterShortTransfer();
        return;
    }
    writeLog("Download Finished:", QStringLiteral("Content Length:%1,Byte Write(File):%2")
                                       .arg(qint64(record.total_bytes))
                                       .arg(qint64(record.download_bytes)));
    if (record.output_format == 0) {
        record.output_name = record.video_mame;
        finish();
    } else if (!work().feed.drain()) {
        if (QFile::exists(record.video_mame)) {
            onConvertError(ConversionNotStarted);
        } else {
            record.forgetSource();
            onDownloadRetry();
        }
    }
}

void HttpJob::retryAfterShortTransfer()
{
    if (!work().retries.afterShortTransfer())
        onDownloadError(TooManyShortTransfers);
}

// The encoder may hold bytes that are to come again: it begins anew as well.
void HttpJob::onSourceCut()
{
    work().feed.stop();
    record.forgetSource();
    retryAfterShortTransfer();
}

void HttpJob::onDownloadRetry()
{
    work().retries.begin();
    if (record.video_state == JobState::Stopped)
        return;
    stopThread();
    startTransfer();
}

void HttpJob::onRetry()
{
    work().retries.afterError();
}

void HttpJob::onDownloadError(qint32 err)
{
    if (err == QNetworkReply::OperationCanceledError)
        return;
    noteTrouble({err, QString()});
    if (isFatalDownloadError(err)) {
        writeLog("Download:", QStringLiteral("Error(%1)").arg(err));
        fail();
        return;
    }
    work().retries.logError();
    onRetry();
}

void HttpJob::onConvertFinished(int exitCode)
{
    if (exitCode != 0) {
        writeLog("Convert:", QStringLiteral("Finished but Failed(%1)").arg(exitCode));
        onConvertError(exitCode);
        return;
    }
    if (record.video_state == JobState::Stopped) {
        record.video_state = JobState::PauseFinishes;
        record.changeFlags.set(StateChanged);
        writeLog("Convert:", QStringLiteral("Finished and Success(Paused)."));
        return;
    }
    // An encoder may have all it wants before the download is complete.
    stopThread();
    finish();
    writeLog("Convert:", QStringLiteral("Finished and Success."));
}

void HttpJob::onConvertError(int err)
{
    noteTrouble(err == ConversionNotStarted ? JobTrouble{err, QString()} : work().feed.trouble());
    writeLog("Convert:", QStringLiteral("Error(%1)").arg(err));
    fail();
}

void HttpJob::onFinished()
{
    finish();
}

void HttpJob::onError()
{
    fail();
}

void HttpJob::finish()
{
    work().feed.end();
    // A file that keeps its intermediate name is still the finished video.
    if (!record.finalizeOutput(m_surroundings.options.deleteTempFile) &&
        !QFile::exists(record.output_name)) {
        // Somebody took it away. The downloaded file is still there for the next start.
        writeLog("Convert:", QStringLiteral("Failed(no converted file)"));
        noteTrouble({JobTrouble::OutputGone, QString()});
        work().feed.stop();
        endAs(JobState::Errored);
        return;
    }
    endAs(JobState::Finished);
}

void HttpJob::fail()
{
    stop();
    if (!record.keepsSource) {
        record.removePartialFiles(); // what is not there need not be removed
        record.forgetSource();
    }
    endAs(JobState::Errored);
}

void HttpJob::endAs(JobState state)
{
    record.changeFlags.set(StateChanged);
    record.video_state = state;
    emit sigFinished(record.id);
}
