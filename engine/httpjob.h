#pragma once

#include "jobrecord.h"
#include "jobsurroundings.h"
#include "videoinfo.h"

#include <QByteArray>
#include <QObject>
#include <QTimer>

#include <memory>

class Encoder;
class FileReader;
class HttpThread;

// One download job: starts and stops its transfer, retries, feeds the encoder, and brings the job
// to its end. User-interface thread.
class HttpJob final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(HttpJob)

public:
    explicit HttpJob(const JobSurroundings &surroundings);
    ~HttpJob() override;

    void init(const VideoInfo &info, int id);
    void start();
    void pause(); // the transfer ends, the encoder keeps working on what it has
    void stop();  // transfer and encoder end, the state stays
    void remove(bool deleteFiles);

    qint32 elapsed() const; // milliseconds the job has run
    bool canStart() const;
    bool isRunning() const;

    const JobSurroundings &surroundings() const { return m_surroundings; }

    JobRecord record;
    bool removed = false; // set by the manager: the job is skipped everywhere

signals:
    void sigSourceCreated();   // the record names a new source file
    void sigFinished(int nID); // the job became Finished or Errored; once per move

public slots:
    void onDownloadError(qint32 err);
    void onDownloadRetry();
    void onDownloadReceive(qint64 bytesReceived);
    void onDownloadFinished();
    void onConvertError(int err);
    void onConvertFinished(int exitCode);
    void onFinished();
    void onRetry();
    void onError();

private:
    void startTransfer();
    void stopThread();
    void prepareConversion();
    void followSource();      // a source file that began again begins the conversion again
    void releaseConversion(); // encoder and reader end
    bool openReader();
    void drain();
    void finishDrain();
    void retryIn(int milliseconds);
    void endAs(JobState state);
    void finish();
    void fail();

    static constexpr qint16 maxRestarts = 10;
    static constexpr qint64 chunkSize = 8192; // bytes handed to the encoder per step
    // Bytes that may wait for the encoder's child while the rest of a file is handed over.
    static constexpr qint64 maxPendingInput = 4 * 1024 * 1024;

    const JobSurroundings m_surroundings;
    HttpThread *m_thread = nullptr; // child; deletes itself once abandoned
    quint32 m_startTick;            // tick count of the last start, milliseconds
    qint16 m_restartCount = 0;      // restarts after short transfers since the job was started
    QTimer m_retryTimer;
    std::unique_ptr<FileReader> m_reader;
    std::unique_ptr<Encoder> m_encoder;
    QByteArray m_buffer;
    qint32 m_encodedGeneration = 0; // the source file's that the encoder was fed from
    bool m_draining = false;        // the download is complete, the encoder still gets its rest
};
