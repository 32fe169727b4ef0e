#include "arguments.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>

struct Frame
{
    bool sizeGiven = false;
    int width = 0; // 0: keep the source's size
    int height = 0;
    int top = 0;
    int bottom = 0;
    int left = 0;
    int right = 0;
    std::string color = "0x000000";
};

static bool isOneOf(const std::string &text, std::initializer_list<const char *> names)
{
    return std::find(names.begin(), names.end(), text) != names.end();
}

static bool isNumber(const std::string &text)
{
    return !text.empty() && text.size() < 6 &&
           std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isdigit(c); });
}

static void readSize(const std::string &text, Frame &frame)
{
    frame.width = frame.height = 0;
    const size_t cross = text.find('x');
    if (cross == std::string::npos)
        return;
    const std::string width = text.substr(0, cross);
    const std::string height = text.substr(cross + 1);
    const auto isLength = [](const std::string &number) {
        return isNumber(number) && number.size() <= 4 && std::stoi(number) > 0;
    };
    // The size comes from a site: what no screen has is no size.
    if (isLength(width) && isLength(height)) {
        frame.width = std::stoi(width);
        frame.height = std::stoi(height);
    }
}

static bool isColor(const std::string &text)
{
    return text.size() == 8 && text.compare(0, 2, "0x") == 0 &&
           std::all_of(text.begin() + 2, text.end(),
                       [](unsigned char c) { return std::isxdigit(c); });
}

// Encoders of 4:2:0 pictures refuse odd sizes, and pads there begin at even pixels.
static int even(int value)
{
    return value / 2 * 2;
}

// Makes one axis even: the whole frame keeps its length as far as it can, the last pad takes the
// difference.
static void makeEven(int &picture, int &before, int &after)
{
    const int total = std::max(2, even(picture + before + after));
    picture = std::min(std::max(2, even(picture)), total);
    before = std::min(even(before), total - picture);
    after = total - picture - before;
}

static std::string frameFilter(Frame frame)
{
    if (frame.width == 0)
        return "scale=trunc(iw/2)*2:trunc(ih/2)*2";
    makeEven(frame.width, frame.left, frame.right);
    makeEven(frame.height, frame.top, frame.bottom);
    std::string filter =
        "scale=" + std::to_string(frame.width) + ":" + std::to_string(frame.height);
    const int fullWidth = frame.width + frame.left + frame.right;
    const int fullHeight = frame.height + frame.top + frame.bottom;
    if (fullWidth != frame.width || fullHeight != frame.height) {
        filter += ",pad=" + std::to_string(fullWidth) + ":" + std::to_string(fullHeight) + ":" +
                  std::to_string(frame.left) + ":" + std::to_string(frame.top) +
                  ":color=" + frame.color;
    }
    // The size was computed from pixels, so they are square.
    return filter + ",setsar=1";
}

// Takes the option and its value when it is one of the frame's.
static bool readFrameOption(const std::string &name, const std::string &value, Frame &frame)
{
    const std::array<std::pair<const char *, int *>, 4> pads = {{{"-padtop", &frame.top},
                                                                 {"-padbottom", &frame.bottom},
                                                                 {"-padleft", &frame.left},
                                                                 {"-padright", &frame.right}}};
    for (const auto &pad : pads) {
        if (name == pad.first) {
            *pad.second = isNumber(value) ? std::stoi(value) : 0;
            return true;
        }
    }
    if (name == "-padcolor") {
        if (isColor(value))
            frame.color = value;
        return true;
    }
    if (name != "-s" && name.compare(0, 3, "-s:") != 0)
        return false;
    frame.sizeGiven = true;
    readSize(value, frame);
    return true;
}

static bool holdsSoundOnly(const std::string &output)
{
    const size_t dot = output.rfind('.');
    std::string extension = dot == std::string::npos ? std::string() : output.substr(dot + 1);
    for (char &c : extension)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return isOneOf(extension, {"mp3", "m4a", "aac", "oga", "opus", "wav", "flac", "wma", "ac3"});
}

EncoderCommand translateArguments(const std::vector<std::string> &arguments)
{
    EncoderCommand command;
    size_t outputOptions = 0;
    for (size_t i = 0; i + 1 < arguments.size(); ++i) {
        if (arguments[i] == "-i")
            outputOptions = i + 2;
    }

    // FFmpeg is not to take keys from the video it reads, and tells progress whatever its log
    // level.
    std::vector<std::string> &result = command.arguments;
    result = {"-nostdin", "-stats"};
    for (size_t i = 0; i < outputOptions; ++i) {
        result.push_back(arguments[i]);
        if (i > 0 && arguments[i - 1] == "-i" && isOneOf(arguments[i], {"-", "pipe:", "pipe:0"}))
            command.inputIndex = result.size() - 1;
    }

    Frame frame;
    std::string filters;
    bool copiesVideo = false;
    bool noVideo = false;
    bool noAudio = false;
    for (size_t i = outputOptions; i < arguments.size(); ++i) {
        const std::string &name = arguments[i];
        // An empty size leaves no value behind: what follows is the next option.
        const bool hasValue = i + 2 < arguments.size() && arguments[i + 1].compare(0, 1, "-") != 0;
        const std::string value = hasValue ? arguments[i + 1] : std::string();
        const bool isFilter = isOneOf(name, {"-vf", "-filter:v", "-filter:v:0"}) && hasValue;
        if (isFilter || readFrameOption(name, value, frame)) {
            if (isFilter)
                filters = value;
            i += hasValue ? 1 : 0;
            continue;
        }
        noVideo = noVideo || name == "-vn";
        noAudio = noAudio || name == "-an";
        if (isOneOf(name, {"-vcodec", "-codec:v", "-c:v", "-codec", "-c"}))
            copiesVideo = value == "copy";
        result.push_back(name);
    }

    if (outputOptions < arguments.size() && arguments.back().compare(0, 1, "-") != 0)
        command.output = arguments.back();
    // The template's own filters come first, they are written for the source's picture (taking
    // fields apart, cutting edges off); the frame comes last, so the result has the size it says.
    if (frame.sizeGiven && !noVideo && !copiesVideo)
        filters += (filters.empty() ? "" : ",") + frameFilter(frame);
    if (!filters.empty() && !command.output.empty())
        result.insert(result.end() - 1, {"-vf", filters});
    command.wantsVideo = !noVideo && !holdsSoundOnly(command.output);
    command.wantsAudio = !command.wantsVideo && !noAudio;
    return command;
}
