#pragma once

#include "jobsurroundings.h"

#include <QObject>
#include <QTimer>

// When a transfer that did not bring everything is tried again, and how often. User-interface
// thread.
class TransferRetries final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(TransferRetries)

public:
    explicit TransferRetries(const RetryDelays &delays);

    void reset() { m_count = 0; } // a person started the job
    void cancel() { m_timer.stop(); }
    void begin(); // one more attempt begins now

    // The transfer ended short. False, and no attempt follows: too many of them in a row.
    bool afterShortTransfer();
    void logError() const; // before afterError(), with the count as it is
    void afterError();     // without a limit: does not count

signals:
    void due();

private:
    static constexpr qint16 limit = 10;

    const RetryDelays m_delays;
    qint16 m_count = 0; // restarts after short transfers since reset()
    QTimer m_timer;
};
