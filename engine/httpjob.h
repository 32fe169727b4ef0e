#pragma once

#include "conversionfeed.h"
#include "jobrecord.h"
#include "jobsurroundings.h"
#include "transferretries.h"
#include "videoinfo.h"

#include <QObject>

#include <memory>

class HttpThread;

// One download job: its states, from the start of the transfer to the end. User-interface thread.
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

    // Why it failed, or waits for its next attempt; what happened before this run of the program is
    // not known any more.
    JobTrouble trouble() const { return m_work ? m_work->retries.trouble() : JobTrouble(); }
    // Milliseconds; -1: no attempt is due.
    int retryDueIn() const { return m_work ? m_work->retries.dueIn() : -1; }
    void noteTrouble(const JobTrouble &trouble) { work().retries.note(trouble); }

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
    void startThread();
    void stopThread();
    void prepareConversion();
    void onSourceCut();
    void retryAfterShortTransfer();
    void endAs(JobState state);
    void finish();
    void fail();

    // What a job works with. Most jobs of a long list are never started again and do without.
    struct Work
    {
        TransferRetries retries;
        ConversionFeed feed;
    };
    Work &work(); // made when it is first needed

    const JobSurroundings m_surroundings;
    HttpThread *m_thread = nullptr; // child; deletes itself once abandoned
    quint32 m_startTick;            // tick count of the last start, milliseconds
    std::unique_ptr<Work> m_work;
};
