#include "httpjob.h"

#include "downloaderror.h"
#include "encoder.h"
#include "filereader.h"
#include "files.h"
#include "httpthread.h"
#include "logfile.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "platform.h"
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
    m_retryTimer.setSingleShot(true);
    connect(&m_retryTimer, &QTimer::timeout, this, &HttpJob::onDownloadRetry);
}

HttpJob::~HttpJob()
{
    TRACE() << "~HttpJob";
    // The transfer writes into the record, which is gone before the children are.
    stopThread();
}

void HttpJob::init(const VideoInfo &info, int id)
{
    const VideoStream &stream = info.streams.at(info.selectedStream);
    TRACE() << stream.videoAddress << "Start";
    record.page = info.pageUrl;
    record.title = sanitizeFileName(info.title);
    record.id = id;
    record.video_url = decodeUrl(stream.videoAddress);
    record.video_type = stream.type;
    record.video_dimension = stream.dimension;
    record.duration = stream.length.toInt();
    record.download_bytes = 0;
    record.total_bytes = -1;
    record.encodedBytes = 0;
    record.video_state = JobState::Start;
    record.contentType = QString();
    record.video_mame = QString();
    record.output_name.clear();
    record.video_usser_agent.clear();
    record.video_cookies = QString();
    record.convertedSeconds = 0;
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
    m_restartCount = 0;
    prepareConversion();
    // A conversion that could not begin has ended the job already.
    if (isRunning())
        startTransfer();
}

void HttpJob::startTransfer()
{
    if (record.download_bytes == record.total_bytes) {
        const QString source = record.video_mame;
        if (m_reader || QFile::exists(source)) {
            // A pause or an error may have come before the end of the transfer was heard of.
            if (!m_reader || !m_reader->isFinished())
                onDownloadFinished();
            return;
        }
        // Complete once, but gone since: there is only the way from the beginning.
        record.download_bytes = 0;
        record.total_bytes = -1;
    }
    if (m_thread)
        m_thread->abandon();
    m_thread =
        new HttpThread(this, m_surroundings.options.outputFolder, m_surroundings.delays.stall);
    m_startTick = platform::tickCount();
    m_thread->start(QThread::InheritPriority);
}

void HttpJob::stopThread()
{
    if (m_thread) {
        m_thread->abandon();
        m_thread = nullptr;
    }
    m_retryTimer.stop();
}

void HttpJob::pause()
{
    record.spend_time += platform::tickCount() - m_startTick;
    record.video_state = JobState::Stopped;
    record.changeFlags.set(StateChanged);
    if (m_reader)
        m_reader->setPaused(true);
    stopThread();
}

void HttpJob::stop()
{
    record.spend_time += platform::tickCount() - m_startTick;
    stopThread();
    if (m_encoder)
        record.convertedSeconds = 0;
    if (m_reader)
        record.encodedBytes = 0;
    releaseConversion();
}

void HttpJob::releaseConversion()
{
    m_draining = false;
    m_reader.reset();
    if (!m_encoder)
        return;
    m_encoder->disconnect(this);
    m_encoder->stop();
    // The call may come out of one of its signals.
    Encoder *encoder = m_encoder.release();
    encoder->setParent(this);
    encoder->deleteLater();
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

void HttpJob::followSource()
{
    if (!m_encoder || m_encodedGeneration == record.sourceGeneration)
        return;
    // The encoder may hold bytes of a file that the server has replaced since.
    releaseConversion();
    record.encodedBytes = 0;
    record.convertedSeconds = 0;
    prepareConversion();
}

void HttpJob::prepareConversion()
{
    followSource();
    if (!isRunning())
        return; // the conversion could not begin again
    if (m_reader) {
        m_reader->setPaused(false);
        if (m_draining)
            drain();
        return;
    }
    if (record.output_format == 0 || m_encoder)
        return;
    const QString before = record.output_name;
    m_encoder = m_surroundings.profiles.createEncoder(record);
    // The folder or the name may have changed since the last attempt wrote a part of it.
    if (m_encoder && before.contains(record.guid) && before != record.output_name)
        platform::removeFile(before);
    if (!m_encoder) {
        TRACE() << "Create Encoder Failed!";
        onConvertError(ConversionNotStarted);
        return;
    }
    m_encodedGeneration = record.sourceGeneration;
    m_buffer.resize(chunkSize);
    connect(m_encoder.get(), &Encoder::convertFinished, this, &HttpJob::onConvertFinished);
    connect(m_encoder.get(), &Encoder::convertErrored, this, &HttpJob::onConvertError);
    connect(m_encoder.get(), &Encoder::inputTaken, this, [this] {
        if (m_draining)
            drain();
    });
    m_encoder->start();
}

bool HttpJob::openReader()
{
    auto reader = std::make_unique<FileReader>();
    if (!reader->open(record.video_mame))
        return false;
    m_reader = std::move(reader);
    return true;
}

void HttpJob::onDownloadReceive(qint64)
{
    followSource();
    if (!m_encoder)
        return;
    if (!m_reader && !openReader()) {
        onConvertError(ConversionNotStarted);
        return;
    }
    const qint64 available = record.download_bytes - record.encodedBytes;
    // What waits for a slow encoder stays in the file, not in memory.
    if (available <= 0 || m_encoder->pendingInput() >= maxPendingInput)
        return;
    qint64 length = qMin(available, chunkSize);
    if (m_reader->read(m_buffer.data(), length, record.encodedBytes) <= 0)
        return;
    const qint64 written = m_encoder->write(m_buffer.constData(), length);
    if (written != -1)
        record.encodedBytes += written;
    else
        TRACE() << "Write to Encoder Error:" << written;
}

void HttpJob::onDownloadFinished()
{
    const qint64 total = record.total_bytes;
    if (!m_encoder && record.download_bytes == total &&
        QFileInfo(record.video_mame).size() != total) {
        // Deleted or cut behind our back: what was counted is not there.
        record.download_bytes = 0;
        record.total_bytes = -1;
    }
    if (record.download_bytes != record.total_bytes) {
        if (m_restartCount >= maxRestarts) {
            m_restartCount = 0;
            writeLog("Download:", QStringLiteral("Failed(ERR_NET_RETRY)"));
            onDownloadError(TooManyShortTransfers);
            return;
        }
        writeLog("Download:", QStringLiteral("Failed(retry %1 times)").arg(m_restartCount));
        TRACE() << "restart job" << m_restartCount;
        retryIn(m_surroundings.delays.shortTransfer);
        return;
    }
    writeLog("Download Finished:", QStringLiteral("Content Length:%1,Byte Write(File):%2")
                                       .arg(qint64(record.total_bytes))
                                       .arg(qint64(record.download_bytes)));
    followSource();
    if (!isRunning())
        return; // the conversion could not begin again
    if (!m_encoder) {
        record.output_name = record.video_mame;
        finish();
        return;
    }
    if (!m_reader && !openReader()) {
        if (QFile::exists(record.video_mame)) {
            onConvertError(ConversionNotStarted);
        } else {
            record.download_bytes = 0;
            record.total_bytes = -1;
            onDownloadRetry();
        }
        return;
    }
    m_reader->setFinished();
    m_draining = true;
    drain();
}

// Hands the rest of the source file to the encoder, as far as it fits; goes on when the child has
// taken some of it, so that neither the window nor the memory notices the size of the file.
void HttpJob::drain()
{
    while (m_encoder->pendingInput() < maxPendingInput) {
        qint64 length = chunkSize;
        if (m_reader->read(m_buffer.data(), length, record.encodedBytes) <= 0) {
            if (!m_reader->isPaused())
                finishDrain();
            return;
        }
        const qint64 written = m_encoder->write(m_buffer.constData(), length);
        if (written == -1) {
            // The child is gone; its end, which is on its way, ends the job.
            TRACE() << "Write to Encoder Error:" << written;
            m_draining = false;
            return;
        }
        record.encodedBytes += written;
        TRACE() << "Read From Source File:" << length;
    }
}

void HttpJob::finishDrain()
{
    m_draining = false;
    if (record.encodedBytes < record.download_bytes) {
        // The source file was cut or damaged since it was written.
        onDownloadError(FileError);
        return;
    }
    m_reader->close();
    m_encoder->closeInput();
    writeLog("Convert Finished:",
             QStringLiteral("Content Length:%1,Byte Write(File):%2,Byte Read(Encoder):%3")
                 .arg(qint64(record.total_bytes))
                 .arg(qint64(record.download_bytes))
                 .arg(record.encodedBytes));
}

void HttpJob::retryIn(int milliseconds)
{
    m_retryTimer.start(milliseconds);
}

void HttpJob::onDownloadRetry()
{
    m_retryTimer.stop();
    ++m_restartCount;
    if (record.video_state == JobState::Stopped)
        return;
    stopThread();
    startTransfer();
}

void HttpJob::onRetry()
{
    --m_restartCount;
    retryIn(m_surroundings.delays.networkError);
}

void HttpJob::onDownloadError(qint32 err)
{
    if (err == QNetworkReply::OperationCanceledError)
        return;
    if (isFatalDownloadError(err)) {
        writeLog("Download:", QStringLiteral("Error(%1)").arg(err));
        fail();
        return;
    }
    writeLog("Download:", QStringLiteral("Failed(restart %1 times)").arg(m_restartCount));
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
    releaseConversion();
    record.finalizeOutput(); // a file that keeps its intermediate name is still the finished video
    endAs(JobState::Finished);
}

void HttpJob::fail()
{
    stop();
    record.removePartialFiles(); // what is not there need not be removed
    endAs(JobState::Errored);
}

void HttpJob::endAs(JobState state)
{
    record.changeFlags.set(StateChanged);
    record.video_state = state;
    emit sigFinished(record.id);
}
