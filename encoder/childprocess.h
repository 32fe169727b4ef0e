#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

// Path of the encoder to run: $REELKEEPER_FFMPEG (a path, or a name on PATH), else "ffmpeg" on
// PATH; empty when there is none. Never this program itself.
std::string findEncoder();

// A program that cannot live longer than this one, however this one ends. It runs with a lower
// priority.
class ChildProcess final
{
public:
    // The descriptors become the child's streams; they stay the caller's.
    ChildProcess(const std::string &program, const std::vector<std::string> &arguments,
                 int standardInput, int standardOutput, int standardError);
    ~ChildProcess(); // kills it when it was not waited for
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;

    bool isStarted() const { return m_pid > 0; }
    void stop(); // its end follows at once
    // Waits for the end and gives the exit code: 254 for a violent end and for 255.
    int wait();

private:
    pid_t m_pid = -1;
};
