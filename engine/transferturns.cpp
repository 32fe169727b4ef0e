#include "transferturns.h"

#include <algorithm>

static constexpr int timeApart = 2; // milliseconds between two beginnings

TransferTurns::TransferTurns()
{
    m_pause.setSingleShot(true);
    m_pause.setTimerType(Qt::PreciseTimer);
    connect(&m_pause, &QTimer::timeout, this, &TransferTurns::next);
}

void TransferTurns::wait(const void *owner, const std::function<void()> &begin)
{
    leave(owner);
    m_waiting.push_back({owner, begin});
    if (!m_pause.isActive())
        next();
}

void TransferTurns::leave(const void *owner)
{
    const auto of = [owner](const Turn &turn) { return turn.owner == owner; };
    m_waiting.erase(std::remove_if(m_waiting.begin(), m_waiting.end(), of), m_waiting.end());
}

void TransferTurns::next()
{
    if (m_waiting.empty())
        return;
    const Turn turn = std::move(m_waiting.front());
    m_waiting.pop_front();
    m_pause.start(timeApart); // first: what begins may ask for another turn
    turn.begin();
}
