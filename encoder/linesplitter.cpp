#include "linesplitter.h"

#include <utility>

static const size_t maximumLine = 64 * 1024;

LineSplitter::LineSplitter(Handler handler)
    : m_handler(std::move(handler))
{
}

void LineSplitter::take(const char *bytes, size_t length)
{
    for (size_t i = 0; i < length; ++i) {
        const bool isEnd = bytes[i] == '\r' || bytes[i] == '\n';
        if (!isEnd)
            m_line += bytes[i];
        if (isEnd || m_line.size() == maximumLine) {
            m_handler(m_line, isEnd ? bytes[i] : '\0');
            m_line.clear();
        }
    }
}

void LineSplitter::finish()
{
    if (!m_line.empty())
        m_handler(m_line, '\0');
    m_line.clear();
}
