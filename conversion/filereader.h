#pragma once

#include <QFile>
#include <QObject>

// Reads the growing download file at the position the caller asks for. User-interface thread.
class FileReader final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(FileReader)

public:
    enum Result {
        Delivered = 1,   // length bytes were read
        Ended = 0,       // paused, or finished and nothing more to read
        NothingYet = -1, // the download still runs
        BadPosition = -2
    };

    FileReader();
    bool open(const QString &fileName);
    // length: bytes asked for in, bytes read out.
    int read(char *buffer, qint64 &length, qint64 position);
    void setFinished();
    bool isFinished() const { return m_finished; }
    void setPaused(bool paused);
    bool isPaused() const { return m_paused; }
    void close();

public slots:
    void onFilefinished();

private:
    QFile m_file;
    bool m_finished = false;
    bool m_paused = false;
};
