#include "conversionfeed.h"

#include "adapterwords.h"
#include "encoder.h"
#include "filereader.h"
#include "jobdata.h"
#include "logfile.h"
#include "outputprofilemanager.h"
#include "platform.h"
#include "trace.h"

ConversionFeed::ConversionFeed(JobData &record, const OutputProfileManager &profiles)
    : m_record(record)
    , m_profiles(profiles)
{
}

ConversionFeed::~ConversionFeed() = default;

bool ConversionFeed::drainBegan() const
{
    return m_reader && m_reader->isFinished();
}

JobTrouble ConversionFeed::trouble() const
{
    return m_encoder ? m_encoder->trouble() : JobTrouble();
}

bool ConversionFeed::prepare()
{
    if (m_reader) {
        m_reader->setPaused(false);
        handOver();
        return true;
    }
    if (m_record.output_format == 0 || m_encoder)
        return true;
    const QString before = m_record.output_name;
    m_encoder = m_profiles.createEncoder(m_record);
    if (!m_encoder) {
        TRACE() << "Create Encoder Failed!";
        return false;
    }
    // The folder or the name may have changed since the last attempt wrote a part of it. Without
    // the guid it is not known to be one.
    const QString guid = m_record.guid;
    if (!guid.isEmpty() && before.contains(guid) && before != m_record.output_name)
        platform::removeFile(before);
    connect(m_encoder.get(), &Encoder::convertFinished, this, &ConversionFeed::converted);
    connect(m_encoder.get(), &Encoder::convertErrored, this, &ConversionFeed::failed);
    connect(m_encoder.get(), &Encoder::inputTaken, this, &ConversionFeed::handOver);
    return true;
}

// Starts the encoder with the first byte there is for it: of a file that the server replaced in
// the meantime it has then seen nothing.
bool ConversionFeed::open()
{
    if (m_reader && m_generation != m_record.sourceGeneration)
        stop();
    if (m_reader)
        return true;
    const qint32 generation = m_record.sourceGeneration;
    auto reader = std::make_unique<FileReader>();
    if (!prepare() || !reader->open(m_record.video_mame))
        return false;
    m_generation = generation;
    m_buffer.resize(chunkSize);
    m_reader = std::move(reader);
    m_encoder->setVariable(sourceFileVariable, m_record.video_mame);
    m_encoder->start();
    return true;
}

bool ConversionFeed::feed()
{
    if (m_record.output_format == 0)
        return true;
    if (!open())
        return false;
    handOver();
    return true;
}

bool ConversionFeed::drain()
{
    if (!open())
        return false;
    m_reader->setFinished();
    m_draining = true;
    handOver();
    return true;
}

// As much as may wait for the child; goes on when the child has taken some of it, so that neither
// the window nor the memory notices the size of the file.
void ConversionFeed::handOver()
{
    if (!m_reader || m_reader->isPaused() || m_generation != m_record.sourceGeneration)
        return;
    while (m_encoder->pendingInput() < maxPendingInput) {
        qint64 length = qMin(m_record.download_bytes - m_record.encodedBytes, chunkSize);
        if (length <= 0)
            break;
        if (m_reader->read(m_buffer.data(), length, m_record.encodedBytes) <= 0) {
            if (m_draining) {
                m_draining = false;
                emit sourceCut();
            }
            return;
        }
        const qint64 written = m_encoder->write(m_buffer.constData(), length);
        if (written == -1) {
            // The child is gone, or wants no more; its end is yet to come and ends the job.
            TRACE() << "Write to Encoder Error:" << written;
            return;
        }
        m_record.encodedBytes += written;
        TRACE() << "Read From Source File:" << length;
    }
    if (m_draining && m_record.encodedBytes >= m_record.download_bytes)
        finishDrain();
}

void ConversionFeed::finishDrain()
{
    m_draining = false;
    m_reader->close();
    m_encoder->closeInput();
    LogFile::instance()->write(
        QStringLiteral("Convert Finished:"),
        QStringLiteral("Content Length:%1,Byte Write(File):%2,Byte Read(Encoder):%3")
            .arg(qint64(m_record.total_bytes))
            .arg(qint64(m_record.download_bytes))
            .arg(m_record.encodedBytes));
}

void ConversionFeed::pause()
{
    if (m_reader)
        m_reader->setPaused(true);
}

void ConversionFeed::end()
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

void ConversionFeed::stop()
{
    end();
    m_record.encodedBytes = 0;
    m_record.convertedSeconds = 0;
}
