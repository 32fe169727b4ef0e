#include "encoderrun.h"

#include "adapterwords.h"
#include "childprocess.h"
#include "inputprobe.h"
#include "progress.h"
#include "resultcheck.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

static const size_t chunkSize = 64 * 1024;
static const int pipeSize = 1024 * 1024;
static const char ownInput[] = "/proc/self/fd/0";

int reportFailure(const std::string &text)
{
    dprintf(STDERR_FILENO, "ffmpeg.exe: %s\n", text.c_str());
    return 1;
}

static void closeDescriptor(int &descriptor)
{
    if (descriptor >= 0)
        close(descriptor);
    descriptor = -1;
}

// The bytes read, 0 at the end; a descriptor that fails has ended too.
static size_t readSome(int descriptor, std::string &target)
{
    const size_t before = target.size();
    target.resize(before + chunkSize);
    const ssize_t count = read(descriptor, &target[before], chunkSize);
    const size_t taken = count > 0 ? static_cast<size_t>(count) : 0;
    target.resize(before + taken);
    return taken;
}

// The file that the bytes on standard input come from, to be read from its beginning.
static int openSource()
{
    const char *path = std::getenv(sourceFileVariable);
    const int descriptor = open(path && *path ? path : ownInput, O_RDONLY | O_CLOEXEC);
    struct stat found;
    if (descriptor < 0 || (fstat(descriptor, &found) == 0 && S_ISREG(found.st_mode)))
        return descriptor;
    close(descriptor);
    errno = ESPIPE;
    return -1;
}

EncoderRun::EncoderRun(const std::string &encoder, const EncoderCommand &command)
    : m_encoder(encoder)
    , m_command(command)
    , m_lines([this](const std::string &line, char end) { handleLine(line, end); })
{
}

EncoderRun::~EncoderRun()
{
    closeDescriptor(m_toEncoder);
    closeDescriptor(m_fromEncoder);
}

int EncoderRun::exec()
{
    // Fewer turns between the processes; without it they only take more of them.
    fcntl(STDIN_FILENO, F_SETPIPE_SZ, pipeSize);
    InputKind kind = InputKind::Undecided;
    while (kind == InputKind::Undecided && !m_inputEnded) {
        m_inputEnded = readSome(STDIN_FILENO, m_input) == 0;
        kind = probeInput(m_input);
    }
    if (kind == InputKind::NeedsFile)
        return encodeSource();
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return reportFailure(std::strerror(errno));
    fcntl(ends[1], F_SETFL, O_NONBLOCK);
    fcntl(ends[1], F_SETPIPE_SZ, pipeSize);
    m_toEncoder = ends[1];
    return encode(ends[0]);
}

int EncoderRun::encodeSource()
{
    // Opened now: whatever becomes of its name, the file stays the same.
    const int source = openSource();
    if (source < 0)
        return reportFailure(std::string("cannot read the video from its file: ") +
                             std::strerror(errno));
    off_t taken = 0;
    do {
        taken += static_cast<off_t>(m_input.size());
        m_input.clear();
    } while (readSome(STDIN_FILENO, m_input) > 0);
    m_inputEnded = true;
    struct stat found;
    if (fstat(source, &found) != 0 || found.st_size < taken) {
        close(source);
        return reportFailure("the file of the video is shorter than what was read of it");
    }
    m_command.arguments[*m_command.inputIndex] = ownInput;
    return encode(source);
}

int EncoderRun::encode(int standardInput)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        close(standardInput);
        return reportFailure(std::strerror(errno));
    }
    ChildProcess child(m_encoder, m_command.arguments, standardInput, STDOUT_FILENO, ends[1]);
    close(standardInput);
    close(ends[1]);
    m_fromEncoder = ends[0];
    if (!child.isStarted())
        return reportFailure("cannot start " + m_encoder);
    m_child = &child;
    relay();
    m_child = nullptr;

    const int code = child.wait();
    if (m_pictureMissing)
        return reportFailure("the video has no picture, and the format needs one");
    if (code != 0)
        return code;
    if (!m_writeFailure.empty())
        return reportFailure(m_command.output + " could not be written: " + m_writeFailure);
    const Result result = checkResult(m_encoder, m_command, m_turns);
    if (result.fault)
        return reportFailure(m_command.output + " " + *result.fault);
    dprintf(STDERR_FILENO, "%s\n", pictureLine(result.picture).c_str());
    return 0;
}

// Ends when the encoder has closed its standard error and all of it has been passed on.
void EncoderRun::relay()
{
    while (m_fromEncoder >= 0 || !m_messages.empty()) {
        if (m_input.empty() && m_inputEnded)
            closeDescriptor(m_toEncoder);
        const bool hasInput = !m_input.empty() || m_inputWaits;
        const bool wantsInput = m_toEncoder >= 0 && !hasInput;
        const short whenInput = hasInput ? POLLOUT : 0; // errors are told anyway
        pollfd entries[] = {{wantsInput ? STDIN_FILENO : -1, POLLIN, 0},
                            {m_toEncoder, whenInput, 0},
                            {m_messages.size() < chunkSize ? m_fromEncoder : -1, POLLIN, 0},
                            {m_messages.empty() ? -1 : STDERR_FILENO, POLLOUT, 0}};
        if (poll(entries, 4, -1) < 0)
            continue;
        if (entries[0].revents)
            m_inputWaits = true;
        if (entries[1].revents & (POLLERR | POLLNVAL)) {
            // It reads no more, because it has all it needs or has failed: its exit code will tell.
            closeDescriptor(m_toEncoder);
        } else if (entries[1].revents & POLLOUT) {
            passInput();
        }
        if (entries[2].revents) {
            std::string said;
            if (readSome(m_fromEncoder, said) == 0) {
                m_lines.finish();
                closeDescriptor(m_fromEncoder);
            }
            m_lines.take(said.data(), said.size());
        }
        if (entries[3].revents) {
            // A pipe that can be written to takes this much without waiting.
            const ssize_t count =
                write(STDERR_FILENO, m_messages.data(), std::min<size_t>(m_messages.size(), 4096));
            if (count < 0 && errno != EAGAIN)
                m_messages.clear(); // nobody listens
            else
                m_messages.erase(0, count > 0 ? static_cast<size_t>(count) : 0);
        }
    }
    closeDescriptor(m_toEncoder);
}

// The encoder's end takes something: the bytes that were looked at first, then, without a copy of
// them here, what waits on standard input.
void EncoderRun::passInput()
{
    ssize_t count;
    if (!m_input.empty()) {
        count = write(m_toEncoder, m_input.data(), m_input.size());
        m_input.erase(0, count > 0 ? static_cast<size_t>(count) : 0);
    } else {
        m_inputWaits = false;
        count = splice(STDIN_FILENO, nullptr, m_toEncoder, nullptr, pipeSize, SPLICE_F_NONBLOCK);
        m_inputEnded = count == 0;
        if (count < 0 && errno == EINVAL) { // not every kind of descriptor can do that
            m_inputEnded = readSome(STDIN_FILENO, m_input) == 0;
            return;
        }
    }
    if (count < 0 && errno != EAGAIN)
        closeDescriptor(m_toEncoder);
}

void EncoderRun::handleLine(const std::string &line, char end)
{
    const std::string progress = readableProgress(line);
    if (!progress.empty()) {
        m_messages += progress + '\r';
    } else {
        m_messages += line;
        lookAtSource(line);
        if (m_writeFailure.empty() && namesWriteFailure(line, m_command.output))
            m_writeFailure = line;
    }
    if (end == '\n' || (end == '\r' && progress.empty()))
        m_messages += end;
}

// FFmpeg tells what it has been given, then what it is going to make of it; a cover is no picture.
void EncoderRun::lookAtSource(const std::string &line)
{
    if (!m_inSource)
        return;
    if (turnsOf(line) > 0)
        m_turns = turnsOf(line);
    if (line.rfind("  Stream #", 0) == 0 && line.find(": Video: ") != std::string::npos &&
        line.find("(attached pic)") == std::string::npos)
        m_hasPicture = true;
    m_inSource = line != "Stream mapping:";
    m_pictureMissing = !m_inSource && m_command.needsPicture && !m_hasPicture;
    if (m_pictureMissing)
        m_child->stop();
}
