#pragma once

#include "jobtrouble.h"

#include <QByteArray>
#include <QObject>

#include <memory>

class Encoder;
class FileReader;
class OutputProfileManager;
struct JobData;

// Hands the source file of a converting job to its encoder while the file grows. The record's
// encodedBytes and convertedSeconds are this class's to reset. Does nothing for a job that does not
// convert. User-interface thread.
class ConversionFeed final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(ConversionFeed)

public:
    // Neither is owned, both outlive the feed.
    ConversionFeed(JobData &record, const OutputProfileManager &profiles);
    ~ConversionFeed() override;

    // Before the transfer starts: makes the encoder, or goes on after a pause. False: there is none
    // for the job's format.
    bool prepare();
    // More bytes are in the source file. False: the conversion cannot begin.
    bool feed();
    // The source file is complete: its rest is handed over, then the encoder's input is closed.
    // False: the conversion cannot begin.
    bool drain();
    void pause(); // the encoder keeps working on what it has
    void end();   // reader and encoder end, the counts stay
    void stop();  // the same, and the next conversion begins at byte 0

    bool isOpen() const { return m_reader != nullptr; }
    bool drainBegan() const;
    JobTrouble trouble() const; // after failed(), before end(): why

signals:
    void converted(int exitCode); // the encoder's ends, see Encoder
    void failed(int error);
    void sourceCut(); // while draining: what was counted is not in the file any more

private:
    bool open();
    void handOver();
    void finishDrain();

    static constexpr qint64 chunkSize = 8192; // bytes handed over per step
    // Bytes that may wait for the encoder's child: the rest stays in the file, not in memory.
    static constexpr qint64 maxPendingInput = 4 * 1024 * 1024;

    JobData &m_record;
    const OutputProfileManager &m_profiles;
    // The encoder runs from the moment there is a reader.
    std::unique_ptr<Encoder> m_encoder;
    std::unique_ptr<FileReader> m_reader;
    QByteArray m_buffer;
    qint32 m_generation = 0; // of the source file that the encoder is fed from
    bool m_draining = false;
};
