#include "speedmeter.h"

#include <algorithm>

void SpeedMeter::note(quint32 now, qint64 bytes)
{
    // A pause is no part of the speed after it.
    if (m_count > 0 && (bytes < m_samples[size_t(m_count - 1)].bytes ||
                        now - m_samples[size_t(m_count - 1)].moment > 2 * window))
        m_count = 0;
    // A little early is early enough: timers are not exact.
    if (m_count > 0 && now - m_samples[size_t(m_count - 1)].moment < step / 2)
        return;
    if (m_count == most) {
        std::move(m_samples.begin() + 1, m_samples.end(), m_samples.begin());
        --m_count;
    }
    m_samples[size_t(m_count++)] = {now, bytes};
}

qint64 SpeedMeter::speed(quint32 now, qint64 bytes) const
{
    // From the last sample that is as old as the window, or the oldest one that there is.
    int from = m_count - 1;
    while (from > 0 && now - m_samples[size_t(from)].moment < window)
        --from;
    if (from < 0 || bytes < m_samples[size_t(from)].bytes)
        return -1;
    const quint32 elapsed = now - m_samples[size_t(from)].moment;
    return elapsed < step ? -1 : (bytes - m_samples[size_t(from)].bytes) * 1000 / elapsed;
}
