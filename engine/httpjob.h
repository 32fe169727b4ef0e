#pragma once

#include "jobrecord.h"
#include "videoinfo.h"

#include <QObject>
#include <QTimer>

#include <memory>

class Encoder;
class FileReader;
class HttpThread;

// How long a job waits before it tries again, in milliseconds.
struct RetryDelays
{
    int networkError = 60000;
    int shortTransfer = 3000;
};

// One download job: starts and stops its transfer, retries, feeds the encoder, and brings the job
// to its end. User-interface thread.
class HttpJob final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(HttpJob)

public:
    explicit HttpJob(const RetryDelays &delays = RetryDelays());
    ~HttpJob() override;

    void init(const VideoInfo &info, int id);
    void start();
    void pause(); // the transfer ends, the encoder keeps working on what it has
    void stop();  // transfer and encoder end, the state stays
    void remove(bool deleteFiles);

    qint32 elapsed() const; // milliseconds the job has run
    bool canStart() const;
    bool isRunning() const;

    JobRecord record;
    bool removed = false; // set by the manager: the job is skipped everywhere

signals:
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
};
