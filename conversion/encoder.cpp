#include "encoder.h"

#include "adapterwords.h"
#include "encodercommand.h"
#include "jobdata.h"
#include "logfile.h"
#include "trace.h"

static constexpr int processWaitMs = 30000;

Encoder::Encoder(JobData &job, const QString &arguments)
    : m_job(job)
    , m_arguments(arguments)
    , m_lines([this](const std::string &line, char) { handleLine(line); })
{
}

Encoder::~Encoder()
{
    m_EncodeProcess.disconnect(this);
    if (m_EncodeProcess.state() != QProcess::NotRunning) {
        m_EncodeProcess.kill();
        m_EncodeProcess.waitForFinished(processWaitMs);
    }
}

void Encoder::setVariable(const char *name, const QString &value)
{
    m_environment.insert(QString::fromLatin1(name), value);
}

bool Encoder::start()
{
    connect(&m_EncodeProcess, &QProcess::bytesWritten, this, &Encoder::inputTaken);
    connect(&m_EncodeProcess, &QProcess::readyReadStandardOutput, this, &Encoder::readFromStdOut);
    connect(&m_EncodeProcess, &QProcess::readyReadStandardError, this, &Encoder::readFromError);
    connect(&m_EncodeProcess, &QProcess::started, this, &Encoder::onStart);
    connect(&m_EncodeProcess, &QProcess::errorOccurred, this, &Encoder::onError);
    const bool connected =
        connect(&m_EncodeProcess, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished),
                this, &Encoder::onFinished);
    if (!connected) {
        TRACE() << "connect(&m_EncodeProcess, SIGNAL(readyReadStandardOutput()), this,    "
                   "SLOT(redFromStdOut())) failed";
        return false;
    }
    const QString command = quotedArgument(programPath()) + QLatin1Char(' ') + m_arguments;
    TRACE() << command;
    QStringList arguments = QProcess::splitCommand(command);
    const QString program = arguments.takeFirst();
    m_EncodeProcess.setProcessEnvironment(m_environment);
    m_EncodeProcess.start(program, arguments, QIODevice::ReadWrite);
    // A program that does not start is told by onError.
    m_EncodeProcess.waitForStarted(processWaitMs);
    return true;
}

qint64 Encoder::write(const char *bytes, qint64 length)
{
    if (!isRunning() || m_inputRefused)
        return -1;
    const qint64 accepted = m_EncodeProcess.write(bytes, length);
    // Zero is what a closed channel answers; a caller that tries again would do so for ever.
    return accepted == 0 && length > 0 ? -1 : accepted;
}

qint64 Encoder::pendingInput() const
{
    return isRunning() && !m_inputRefused ? m_EncodeProcess.bytesToWrite() : 0;
}

void Encoder::closeInput()
{
    if (isRunning())
        m_EncodeProcess.closeWriteChannel();
}

bool Encoder::isRunning() const
{
    return m_EncodeProcess.state() == QProcess::Running;
}

bool Encoder::stop()
{
    const bool running = m_EncodeProcess.state() != QProcess::NotRunning;
    // An end that waits for the event loop is not announced any more either.
    m_stoppedByUser = m_stoppedByUser || running || m_ended;
    if (!running)
        return false;
    m_EncodeProcess.kill();
    m_EncodeProcess.waitForFinished(processWaitMs);
    return true;
}

void Encoder::readFromStdOut()
{
    TRACE() << m_EncodeProcess.readAllStandardOutput();
}

void Encoder::readFromError()
{
    const QByteArray bytes = m_EncodeProcess.readAllStandardError();
    m_lines.take(bytes.constData(), static_cast<size_t>(bytes.size()));
}

void Encoder::handleLine(const std::string &line)
{
    if (line.empty())
        return;
    const QString text = QString::fromLocal8Bit(line.data(), static_cast<int>(line.size()));
    TRACE() << text;
    if (const auto picture = readPictureLine(line)) {
        // Also of a paused job: nothing asks for it later.
        m_job.output_demision =
            picture->width > 0 ? QStringLiteral("%1x%2").arg(picture->width).arg(picture->height)
                               : QString();
        return;
    }
    const bool counts = m_job.video_state == JobState::Start && !m_stoppedByUser;
    if (counts && parseProgress(text))
        return;
    m_lastMessage = text;
    constexpr int longest = 500; // of what is worth reading
    m_fault.take(text.left(longest));
}

void Encoder::onStart()
{
    TRACE() << "Encoder::onStart()";
}

void Encoder::onError(QProcess::ProcessError error)
{
    TRACE() << QStringLiteral("Encoder::onError(%1)").arg(error);
    if (error == QProcess::FailedToStart) {
        m_fault.setNotStarted();
        announceEnd(&Encoder::convertErrored, error);
    } else if (error == QProcess::WriteError) {
        // The child wants no more input and keeps running. Whoever waits for it to take the rest
        // would wait for ever.
        m_inputRefused = true;
        emit inputTaken();
    }
    // After a crash finished() follows with the rest of the output; nothing else is an end.
}

void Encoder::onFinished(int exitCode, QProcess::ExitStatus exitStatus)
{
    readFromError();
    m_lines.finish();
    if (exitStatus == QProcess::NormalExit && exitCode == 0)
        announceEnd(&Encoder::convertFinished, 0);
    else
        announceFailure(exitStatus == QProcess::CrashExit || exitCode == violentEnd);
}

void Encoder::announceFailure(bool crashed)
{
    if (crashed)
        m_fault.setCrashed();
    // What the encoder said last is mostly why; nobody else keeps it.
    if (!m_stoppedByUser && !m_lastMessage.isEmpty())
        LogFile::instance()->write(QStringLiteral("Convert:"), m_lastMessage);
    announceEnd(&Encoder::convertErrored, 1);
}

// The receiver deletes the encoder, so this waits until the process is done with its own signal.
void Encoder::announceEnd(void (Encoder::*signal)(int), int code)
{
    if (m_ended)
        return;
    m_ended = true;
    QMetaObject::invokeMethod(
        this,
        [this, signal, code] {
            if (!m_stoppedByUser)
                (this->*signal)(code);
        },
        Qt::QueuedConnection);
}
