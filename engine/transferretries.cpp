#include "transferretries.h"

#include "logfile.h"
#include "trace.h"

static void writeLog(const QString &text)
{
    LogFile::instance()->write(QStringLiteral("Download:"), text);
}

TransferRetries::TransferRetries(const RetryDelays &delays)
    : m_delays(delays)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &TransferRetries::due);
}

void TransferRetries::reset()
{
    m_count = 0;
    m_trouble = {};
}

void TransferRetries::begin()
{
    m_trouble = {};
    m_timer.stop();
    ++m_count;
}

bool TransferRetries::afterShortTransfer()
{
    if (m_count >= limit) {
        m_count = 0;
        writeLog(QStringLiteral("Failed(ERR_NET_RETRY)"));
        return false;
    }
    writeLog(QStringLiteral("Failed(retry %1 times)").arg(m_count));
    TRACE() << "restart job" << m_count;
    note({JobTrouble::EndedShort, QString()});
    m_timer.start(m_delays.shortTransfer);
    return true;
}

void TransferRetries::note(const JobTrouble &trouble)
{
    if (m_trouble.code == 0)
        m_trouble = trouble;
}

void TransferRetries::logError() const
{
    writeLog(QStringLiteral("Failed(restart %1 times)").arg(m_count));
}

void TransferRetries::afterError()
{
    --m_count; // begin() adds it back
    m_timer.start(m_delays.networkError);
}
