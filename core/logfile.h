#pragma once

#include <QFile>
#include <QMutex>
#include <QString>

// The diagnostic log: one line per event, flushed at once. Nothing is written until it is opened,
// which the start-up does when the hidden setting "Enable Logging" is on.
class LogFile final : public QFile
{
    Q_OBJECT
    Q_DISABLE_COPY(LogFile)

public:
    LogFile() = default;
    ~LogFile() override;
    // Created on first use, which happens on the user-interface thread.
    static LogFile *instance();
    static void destroyInstance();

    using QFile::open;
    bool open();                                         // true when the file is (already) open
    void write(const QString &tag, const QString &text); // any thread

private:
    bool m_opened = false;
    QMutex m_mutex;
};
