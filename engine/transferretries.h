#pragma once

#include "jobsurroundings.h"
#include "jobtrouble.h"

#include <QObject>
#include <QTimer>

// When a transfer that did not bring everything is tried again, how often, and what the trouble is.
// User-interface thread.
class TransferRetries final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(TransferRetries)

public:
    explicit TransferRetries(const RetryDelays &delays);

    void reset(); // a person started the job
    void cancel() { m_timer.stop(); }
    void begin(); // one more attempt begins now

    // The transfer ended short. False, and no attempt follows: too many of them in a row.
    bool afterShortTransfer();
    void logError() const; // before afterError(), with the count as it is
    void afterError();     // without a limit: does not count

    void note(const JobTrouble &trouble); // the first one of an attempt is kept until the next
    const JobTrouble &trouble() const { return m_trouble; }
    int dueIn() const { return m_timer.remainingTime(); } // milliseconds; -1: no attempt is due

signals:
    void due();

private:
    static constexpr qint16 limit = 10;

    const RetryDelays m_delays;
    qint16 m_count = 0; // restarts after short transfers since reset()
    QTimer m_timer;
    JobTrouble m_trouble;
};
