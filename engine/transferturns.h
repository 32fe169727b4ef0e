#pragma once

#include <QObject>
#include <QTimer>

#include <deque>
#include <functional>

// Lets the transfers of many jobs begin one after the other, a little apart: each takes threads and
// connections of its own, and fifty that begin in one go would hold the window up. The first begins
// at once. User-interface thread.
class TransferTurns final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(TransferTurns)

public:
    TransferTurns();

    // Calls begin when it is owner's turn, which may be now. An owner waits for one turn at a time:
    // the new one takes the place of another.
    void wait(const void *owner, const std::function<void()> &begin);
    void leave(const void *owner); // before the owner is gone; without a turn nothing happens

private:
    struct Turn
    {
        const void *owner;
        std::function<void()> begin;
    };
    void next();

    std::deque<Turn> m_waiting;
    QTimer m_pause; // runs while the next turn has to wait
};
