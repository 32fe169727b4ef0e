#include "arguments.h"
#include "childprocess.h"
#include "encoderrun.h"

#include <fcntl.h>
#include <sys/prctl.h>

#include <csignal>
#include <cstdlib>
#include <unistd.h>

// Nothing that is opened later may become one of the three streams.
static void keepStreamsOpen()
{
    int descriptor = -1;
    do {
        descriptor = open("/dev/null", O_RDWR);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    close(descriptor);
}

int main(int argc, char **argv)
{
    // Whoever started the conversion is gone: so is the conversion.
    const pid_t parent = getppid();
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        return 254;
    keepStreamsOpen();
    // Both are told by the failing write instead, here and in the encoder. No signal has a function
    // here, so none interrupts a call.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);

    const char *rule = std::getenv(frameRuleVariable);
    const EncoderCommand command =
        translateArguments({argv + 1, argv + argc}, readFrameRule(rule ? rule : ""));
    if (command.output.empty() || !command.inputIndex)
        return reportFailure("no input or no output file is named");
    const std::string encoder = findEncoder();
    if (encoder.empty())
        return reportFailure("FFmpeg was not found; install it, or name it in REELKEEPER_FFMPEG");
    return EncoderRun(encoder, command).exec();
}
