#pragma once

#include <QObject>
#include <QString>
#include <QSystemTrayIcon>

class DownloaderManager;
class Options;
class QWidget;

// Tells the person about jobs that ended, and shuts the computer down after the last one when they
// asked for it.
class JobNotifications final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(JobNotifications)

public:
    // All must outlive it.
    JobNotifications(const DownloaderManager &manager, const Options &options, QWidget *window);

    void jobEnded(int id); // an unknown id is ignored
    void savingFails(const QString &path);
    // The desktop has nothing to show this balloon with: what must be known is said by a box.
    void balloonUnseen(const QString &title, const QString &text,
                       QSystemTrayIcon::MessageIcon icon);
    void allEnded(); // may run the countdown dialog
    // While it counts nothing may open above it: the person has to see it.
    bool isCountingDown() const { return m_countingDown; }

signals:
    void balloon(const QString &title, const QString &text, QSystemTrayIcon::MessageIcon icon);
    void countingDown(bool now);
    void cancelled();    // after the countdown; the computer stays on
    void shuttingDown(); // after the countdown; asked for as soon as this returns

private:
    bool countDown(); // true: shut down

    const DownloaderManager &m_manager;
    const Options &m_options;
    QWidget *m_window;
    bool m_countingDown = false;
};
