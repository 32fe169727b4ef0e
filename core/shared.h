#pragma once

#include <QMutex>
#include <QString>

#include <atomic>

// Values of a job's record that its transfer thread writes while the user-interface thread reads
// them. The type of the field is the warning: a plain field is one that no thread writes while
// another may read it.

template <typename Number>
class SharedNumber final
{
public:
    SharedNumber(Number value = Number())
        : m_value(value)
    {
    }
    SharedNumber(const SharedNumber &) = delete;
    SharedNumber &operator=(const SharedNumber &) = delete;

    SharedNumber &operator=(Number value)
    {
        m_value.store(value);
        return *this;
    }
    SharedNumber &operator+=(Number value)
    {
        m_value.fetch_add(value);
        return *this;
    }
    operator Number() const { return m_value.load(); }

private:
    std::atomic<Number> m_value;
};

class SharedText final
{
public:
    SharedText() = default;
    SharedText(const SharedText &) = delete;
    SharedText &operator=(const SharedText &) = delete;

    SharedText &operator=(const QString &text)
    {
        QMutexLocker lock(&m_mutex);
        m_text = text;
        return *this;
    }
    QString text() const
    {
        QMutexLocker lock(&m_mutex);
        return m_text;
    }
    operator QString() const { return text(); }
    bool is(const QString &text) const
    {
        QMutexLocker lock(&m_mutex);
        return m_text.isSharedWith(text) || m_text == text;
    }

private:
    mutable QMutex m_mutex;
    QString m_text;
};

// Bits that one thread sets and another clears; neither can lose the other's change.
class SharedFlags final
{
public:
    SharedFlags() = default;
    SharedFlags(const SharedFlags &) = delete;
    SharedFlags &operator=(const SharedFlags &) = delete;

    void set(quint32 bits) { m_bits.fetch_or(bits); }
    void clear(quint32 bits) { m_bits.fetch_and(~bits); }
    bool test(quint32 bits) const { return (m_bits.load() & bits) != 0; }
    quint32 value() const { return m_bits.load(); }

private:
    std::atomic<quint32> m_bits{0};
};
