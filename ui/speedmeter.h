#pragma once

#include <QtGlobal>

#include <array>

// How fast a count has grown over the last seconds. The clock is the caller's: milliseconds, they
// may wrap. Not to be shared between threads.
class SpeedMeter final
{
public:
    static constexpr quint32 window = 5000; // milliseconds

    // The count at that moment. A smaller one than before begins anew, and one after a long pause.
    void note(quint32 now, qint64 bytes);
    // Bytes per second up to that moment; -1 when it is too early to tell.
    qint64 speed(quint32 now, qint64 bytes) const;

private:
    struct Sample
    {
        quint32 moment = 0;
        qint64 bytes = 0;
    };
    static constexpr quint32 step = 1000; // between two samples
    static constexpr int most = window / step + 1;

    std::array<Sample, most> m_samples; // the oldest first
    int m_count = 0;
};
