#pragma once

#include <QString>

#include <functional>

class DownloaderManager;
class QWidget;

// Tells the person about jobs that ended, and shuts the computer down after the last one when they
// asked for it.
class JobNotifications final
{
public:
    using ShowBalloon = std::function<void(const QString &title, const QString &text)>;

    JobNotifications(const DownloaderManager *manager, QWidget *window, ShowBalloon showBalloon);

    void jobEnded(int id); // an unknown id is ignored
    void allEnded();       // may run the countdown dialog
    // While it counts nothing may open above it: the person has to see it.
    bool isCountingDown() const { return m_countdownOpen; }

private:
    const DownloaderManager *m_manager;
    QWidget *m_window;
    ShowBalloon m_showBalloon;
    bool m_countdownOpen = false;
};
