#include "arguments.h"

#include "framefilter.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>

// The frame's options as they stand on the command line.
struct FrameOptions
{
    bool given = false;
    PictureSize picture; // 0 and 0: the frame as it comes
    int top = 0;
    int bottom = 0;
    int left = 0;
    int right = 0;
    std::optional<std::string> color = "0x000000"; // nothing: no bars
    std::string shape;
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

static PictureSize readSize(const std::string &text)
{
    const size_t cross = text.find('x');
    if (cross == std::string::npos)
        return {};
    const std::string width = text.substr(0, cross);
    const std::string height = text.substr(cross + 1);
    const auto isLength = [](const std::string &number) {
        return isNumber(number) && number.size() <= 4 && std::stoi(number) > 0;
    };
    // The size comes from a site: what no screen has is no size.
    if (!isLength(width) || !isLength(height))
        return {};
    return {std::stoi(width), std::stoi(height)};
}

static bool isColor(const std::string &text)
{
    return text.size() == 8 && text.compare(0, 2, "0x") == 0 &&
           std::all_of(text.begin() + 2, text.end(),
                       [](unsigned char c) { return std::isxdigit(c); });
}

// "16:9" as an expression, empty for what is none.
static std::string readShape(const std::string &text)
{
    const size_t colon = text.find(':');
    if (colon == std::string::npos || !isNumber(text.substr(0, colon)) ||
        !isNumber(text.substr(colon + 1)) || std::stoi(text) == 0 ||
        std::stoi(text.substr(colon + 1)) == 0)
        return std::string();
    return text.substr(0, colon) + "/" + text.substr(colon + 1);
}

// Takes the option and its value when it is one of the frame's.
static bool readFrameOption(const std::string &name, const std::string &value, FrameOptions &frame)
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
        if (value == "none")
            frame.color.reset();
        else if (isColor(value))
            frame.color = value;
        return true;
    }
    if (name != "-s" && name.compare(0, 3, "-s:") != 0)
        return false;
    frame.given = true;
    frame.picture = readSize(value);
    return true;
}

// Who runs the adapter by hand, without a rule, gets the size he asks for.
static Frame frameOf(const FrameOptions &options, const std::optional<FrameRule> &rule)
{
    const bool padded = options.top + options.bottom + options.left + options.right > 0;
    Frame frame;
    frame.shape = options.shape;
    if (padded)
        frame.barColor = options.color;
    if (rule)
        frame.rule = *rule;
    else if (options.picture.width > 0)
        frame.rule = {FrameRule::Exactly,
                      {options.picture.width + options.left + options.right,
                       options.picture.height + options.top + options.bottom}};
    return frame;
}

static bool holdsSoundOnly(const std::string &output)
{
    const size_t dot = output.rfind('.');
    std::string extension = dot == std::string::npos ? std::string() : output.substr(dot + 1);
    for (char &c : extension)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return isOneOf(extension, {"mp3", "m4a", "aac", "oga", "opus", "wav", "flac", "wma", "ac3"});
}

EncoderCommand translateArguments(const std::vector<std::string> &arguments,
                                  const std::optional<FrameRule> &rule)
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

    FrameOptions frame;
    std::string filters;
    bool drawn = false; // a picture that comes from no video
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
        if (isOneOf(name, {"-aspect", "-aspect:v"}))
            frame.shape = readShape(value);
        drawn = drawn || name == "-filter_complex";
        noVideo = noVideo || name == "-vn";
        noAudio = noAudio || name == "-an";
        if (isOneOf(name, {"-vcodec", "-codec:v", "-c:v", "-codec", "-c"}))
            command.copiesVideo = value == "copy";
        result.push_back(name);
    }

    if (outputOptions < arguments.size() && arguments.back().compare(0, 1, "-") != 0)
        command.output = arguments.back();
    // The template's own filters come first, they are written for the source's picture (taking
    // fields apart, cutting edges off); the frame comes last, so the result has the size it says.
    if (frame.given && !noVideo && !command.copiesVideo)
        filters += (filters.empty() ? "" : ",") + frameFilters(frameOf(frame, rule));
    if (!filters.empty() && !command.output.empty())
        result.insert(result.end() - 1, {"-vf", filters});
    command.wantsVideo = !noVideo && !holdsSoundOnly(command.output);
    command.wantsAudio = !command.wantsVideo && !noAudio;
    command.needsPicture = command.wantsVideo && !drawn;
    return command;
}
