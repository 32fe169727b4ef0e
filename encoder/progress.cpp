#include "progress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

static bool startsWith(const std::string &text, const char *start)
{
    return text.rfind(start, 0) == 0;
}

std::string readableProgress(const std::string &line)
{
    const bool countsFrames = startsWith(line, "frame=");
    if (!countsFrames && !startsWith(line, "size=") && !startsWith(line, "Lsize="))
        return std::string();
    const size_t key = line.rfind(" time=");
    if (key == std::string::npos || line.find("bitrate=") == std::string::npos)
        return std::string();

    const size_t begin = key + 6;
    const size_t end = std::min(line.find(' ', begin), line.size());
    const std::string clock = line.substr(begin, end - begin);
    unsigned hours = 0;
    unsigned minutes = 0;
    double seconds = 0;
    // Before the first packet the time is "N/A" or just below zero.
    if (std::sscanf(clock.c_str(), "%u:%u:%lf", &hours, &minutes, &seconds) != 3 ||
        startsWith(clock, "-"))
        hours = minutes = 0, seconds = 0;
    char text[64];
    std::snprintf(text, sizeof text, "%.2f", hours * 3600.0 + minutes * 60.0 + seconds);
    return (countsFrames ? "" : "frame=    0 ") + line.substr(0, begin) + text + line.substr(end);
}

bool namesWriteFailure(std::string line, const std::string &output)
{
    // Indented lines describe the video, with the words of whoever made it.
    if (startsWith(line, " ") || startsWith(line, "pipe:"))
        return false;
    for (size_t at = line.find(output); !output.empty() && at != std::string::npos;
         at = line.find(output))
        line.erase(at, output.size());
    static const char *const failures[] = {
        "No space left on device", "Input/output error",          "File too large",
        "Disk quota exceeded",     "Error writing trailer",       "Error muxing a packet",
        "Error closing file",      "av_interleaved_write_frame()"};
    for (const char *failure : failures) {
        if (line.find(failure) != std::string::npos)
            return true;
    }
    return false;
}

int turnsOf(const std::string &line)
{
    double degrees = 0;
    if (std::sscanf(line.c_str(), "      displaymatrix: rotation of %lf", &degrees) != 1)
        return 0;
    return (static_cast<int>(std::lround(degrees / 90)) % 4 + 4) % 4;
}
