#include "childprocess.h"

#include "adapterwords.h"

#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <unistd.h>
#include <utility>

static const int lowerPriority = 10;

static bool isUsable(const std::string &path)
{
    struct stat candidate;
    struct stat self;
    if (stat(path.c_str(), &candidate) != 0 || !S_ISREG(candidate.st_mode) ||
        access(path.c_str(), X_OK) != 0)
        return false;
    return stat("/proc/self/exe", &self) != 0 || candidate.st_dev != self.st_dev ||
           candidate.st_ino != self.st_ino;
}

static std::string findOnPath(const std::string &name)
{
    const char *variable = std::getenv("PATH");
    const std::string path = variable ? variable : "/usr/local/bin:/usr/bin:/bin";
    for (size_t begin = 0; begin <= path.size();) {
        const size_t end = std::min(path.find(':', begin), path.size());
        const std::string folder = path.substr(begin, end - begin);
        const std::string candidate = (folder.empty() ? "." : folder) + "/" + name;
        if (isUsable(candidate))
            return candidate;
        begin = end + 1;
    }
    return std::string();
}

std::string findEncoder()
{
    const char *chosen = std::getenv("REELKEEPER_FFMPEG");
    const std::string name = chosen && *chosen ? chosen : "ffmpeg";
    if (name.find('/') == std::string::npos)
        return findOnPath(name);
    return isUsable(name) ? name : std::string();
}

ChildProcess::ChildProcess(const std::string &program, const std::vector<std::string> &arguments,
                           int standardInput, int standardOutput, int standardError)
{
    std::vector<char *> argv = {const_cast<char *>(program.c_str())};
    for (const std::string &argument : arguments)
        argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);

    const pid_t parent = getpid();
    m_pid = fork();
    if (m_pid != 0)
        return;
    // The parent may have died between fork and prctl: then no signal would ever come.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        _exit(violentEnd);
    // The window and the transfers come first; a refusal only costs that. What the system does on
    // the disk for this process follows its priority.
    [[maybe_unused]] const int priority = nice(lowerPriority);
    dup2(standardInput, STDIN_FILENO);
    dup2(standardOutput, STDOUT_FILENO);
    dup2(standardError, STDERR_FILENO);
    execv(argv[0], argv.data());
    const char *reason = std::strerror(errno);
    dprintf(STDERR_FILENO, "ffmpeg.exe: cannot start %s: %s\n", argv[0], reason);
    _exit(126);
}

ChildProcess::~ChildProcess()
{
    if (m_pid > 0) {
        stop();
        wait();
    }
}

void ChildProcess::stop()
{
    kill(m_pid, SIGKILL);
}

int ChildProcess::wait()
{
    int status = 0;
    const pid_t ended = waitpid(std::exchange(m_pid, -1), &status, 0);
    if (ended == -1 || !WIFEXITED(status))
        return violentEnd;
    return std::min(WEXITSTATUS(status), violentEnd);
}
