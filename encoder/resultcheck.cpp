#include "resultcheck.h"

#include "childprocess.h"
#include "progress.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <unistd.h>

static const std::chrono::seconds longestLook(60);

// Reads until the other side ends; false when it takes too long.
static bool readAll(int descriptor, LineSplitter &lines)
{
    const auto deadline = std::chrono::steady_clock::now() + longestLook;
    char buffer[16384];
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0)
            return false;
        pollfd entry = {descriptor, POLLIN, 0};
        if (poll(&entry, 1, static_cast<int>(left.count())) <= 0)
            continue;
        const ssize_t count = read(descriptor, buffer, sizeof buffer);
        if (count > 0)
            lines.take(buffer, static_cast<size_t>(count));
        else if (count == 0 || errno != EINTR)
            return true;
    }
}

static bool isStream(const std::string &line, const char *type)
{
    return line.rfind("  Stream #0", 0) == 0 && line.find(type) != std::string::npos;
}

std::string checkResult(const std::string &encoder, const EncoderCommand &command)
{
    struct stat file;
    if (stat(command.output.c_str(), &file) != 0)
        return "was not written";
    if (file.st_size == 0)
        return "is empty";

    int ends[2];
    const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
    if (nothing < 0 || pipe2(ends, O_CLOEXEC) != 0)
        return "could not be looked at";

    // Copying a second of it into nothing shows that there are packets behind the headers.
    std::vector<std::string> look = {"-hide_banner", "-nostdin", "-stats", "-i"};
    look.push_back("file:" + command.output);
    for (const char *word : {"-map", "0:v?", "-map", "0:a?", "-t", "1", "-c", "copy"})
        look.push_back(word);
    look.insert(look.end(), {"-f", "null", "-"});
    bool hasVideo = false;
    bool hasAudio = false;
    bool hasLength = true;
    bool inSource = false;
    bool hasPackets = false;
    LineSplitter lines([&](const std::string &line, char) {
        if (line.rfind("Input #", 0) == 0)
            inSource = true;
        else if (line.rfind("Output #", 0) == 0)
            inSource = false;
        if (inSource && line.rfind("  Duration: 00:00:00.00", 0) == 0)
            hasLength = false;
        hasVideo = hasVideo || (inSource && isStream(line, ": Video:"));
        hasAudio = hasAudio || (inSource && isStream(line, ": Audio:"));
        const std::string progress = readableProgress(line);
        if (!progress.empty() && (std::strtoul(progress.c_str() + 6, nullptr, 10) > 0 ||
                                  progress.find(" time=0.00 ") == std::string::npos))
            hasPackets = true;
    });
    ChildProcess child(encoder, look, nothing, nothing, ends[1]);
    close(ends[1]);
    close(nothing);
    const bool inTime = readAll(ends[0], lines);
    lines.finish();
    close(ends[0]);
    if (!child.isStarted() || !inTime)
        return "could not be looked at";
    if (child.wait() != 0)
        return "is damaged";
    if (command.wantsVideo && !hasVideo)
        return "holds no picture";
    if (command.wantsAudio && !hasAudio)
        return "holds no sound";
    return hasLength && hasPackets ? std::string() : "holds nothing to play";
}
