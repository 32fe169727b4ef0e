#include "resultcheck.h"

#include "childprocess.h"
#include "linesplitter.h"
#include "progress.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <regex>
#include <unistd.h>
#include <utility>

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
        if (count <= 0)
            return true;
        lines.take(buffer, static_cast<size_t>(count));
    }
}

// What FFmpeg says of a file that it copies into nothing.
class Look final
{
public:
    void takeLine(const std::string &line)
    {
        if (line.rfind("Input #", 0) == 0)
            m_inSource = true;
        else if (line.rfind("Output #", 0) == 0)
            m_inSource = false;
        const std::string progress = readableProgress(line);
        if (!progress.empty() && (std::strtoul(progress.c_str() + 6, nullptr, 10) > 0 ||
                                  progress.find(" time=0.00 ") == std::string::npos))
            hasPackets = true;
        if (m_inSource && line.rfind("  Stream #0", 0) == 0)
            takeStream(line);
        else if (m_inSource && m_inPicture && turnsOf(line) > 0)
            turns = turnsOf(line);
    }

    std::optional<PictureSize> picture; // of the first stream that has one
    int turns = 0;                      // of that picture
    bool hasSound = false;
    bool hasPackets = false;

private:
    void takeStream(const std::string &line)
    {
        static const std::regex size(", ([1-9][0-9]{0,4})x([1-9][0-9]{0,4})[, ]");
        std::smatch match;
        hasSound = hasSound || line.find(": Audio:") != std::string::npos;
        m_inPicture = !picture && line.find(": Video:") != std::string::npos &&
                      std::regex_search(line, match, size);
        if (m_inPicture)
            picture = PictureSize{std::atoi(match.str(1).c_str()), std::atoi(match.str(2).c_str())};
    }

    bool m_inSource = false;
    bool m_inPicture = false;
};

Result checkResult(const std::string &encoder, const EncoderCommand &command, int turns)
{
    const auto failed = [](const char *fault) { return Result{fault, {}}; };
    struct stat file;
    if (stat(command.output.c_str(), &file) != 0)
        return failed("was not written");
    if (file.st_size == 0)
        return failed("is empty");

    int ends[2];
    const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
    if (nothing < 0 || pipe2(ends, O_CLOEXEC) != 0)
        return failed("could not be looked at");

    // Copying a second of it into nothing shows that there are packets behind the headers.
    std::vector<std::string> arguments = {"-hide_banner", "-nostdin", "-stats", "-i"};
    arguments.push_back("file:" + command.output);
    for (const char *word : {"-map", "0:v?", "-map", "0:a?", "-t", "1", "-c", "copy"})
        arguments.push_back(word);
    arguments.insert(arguments.end(), {"-f", "null", "-"});
    Look look;
    LineSplitter lines([&look](const std::string &line, char) { look.takeLine(line); });
    ChildProcess child(encoder, arguments, nothing, nothing, ends[1]);
    close(ends[1]);
    close(nothing);
    const bool inTime = readAll(ends[0], lines);
    lines.finish();
    close(ends[0]);
    if (!child.isStarted() || !inTime)
        return failed("could not be looked at");
    if (child.wait() != 0)
        return failed("is damaged");
    if (command.wantsVideo && !look.picture)
        return failed("holds no picture");
    if (command.wantsAudio && !look.hasSound)
        return failed("holds no sound");
    if (!look.hasPackets)
        return failed("holds nothing to play");
    if (command.copiesVideo && look.turns != turns)
        return failed("cannot say that the picture is turned; a format that encodes can");
    PictureSize shown = look.picture.value_or(PictureSize{});
    if (look.turns % 2 == 1)
        std::swap(shown.width, shown.height);
    return {std::nullopt, shown};
}
