#pragma once

#include "encoderfault.h"
#include "linesplitter.h"
#include "platform.h"

#include <QObject>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>

struct JobData;

// One run of an external encoder, fed through its standard input. User-interface thread.
class Encoder : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(Encoder)

public:
    // job: not owned, must outlive the encoder.
    Encoder(JobData &job, const QString &arguments);
    ~Encoder() override;

    // Environment variable of the process. Before start().
    void setVariable(const char *name, const QString &value);
    // Starts the process; false only when its signals could not be connected. A program that
    // cannot be started is told by convertErrored(0). Called once.
    virtual bool start();
    virtual QString programPath() const = 0;
    virtual bool parseProgress(const QString &line) = 0; // true when the line told progress

    // Bytes accepted for the child's standard input, -1 when it takes none: it does not run (any
    // more), or its input was closed on either side.
    qint64 write(const char *bytes, qint64 length);
    qint64 pendingInput() const; // bytes accepted that the child may still take
    void closeInput();           // end of data
    bool isRunning() const;
    JobTrouble trouble() const { return m_fault.trouble(); } // once convertErrored was announced
    // Kills the child and waits for its end, at most 30 s; neither end signal follows. False when
    // it did not run.
    bool stop();

signals:
    // A run announces its end once, by one of these two, from the event loop: the receiver may
    // delete the encoder. Never before start() has returned.
    void convertFinished(int nRe); // ended with exit code 0
    void convertErrored(int nRe);  // 0: could not be started, 1: any other end
    // The child took some of the pending input, or will take no more of it.
    void inputTaken();

public slots:
    void readFromStdOut();
    void readFromError();
    void onStart();
    void onError(QProcess::ProcessError error);
    void onFinished(int exitCode, QProcess::ExitStatus exitStatus);

protected:
    JobData &job() { return m_job; }

private:
    void handleLine(const std::string &line);
    void announceFailure(bool crashed);
    void announceEnd(void (Encoder::*signal)(int), int code);

    JobData &m_job;
    QString m_arguments;
    QProcessEnvironment m_environment = QProcessEnvironment::systemEnvironment();
    platform::ChildProcess m_EncodeProcess;
    LineSplitter m_lines;
    EncoderFault m_fault;
    QString m_lastMessage;       // the last line that told no progress
    bool m_inputRefused = false; // the child closed its end
    bool m_stoppedByUser = false;
    bool m_ended = false;
};
