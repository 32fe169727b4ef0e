#include "adapterwords.h"

#include <cstdio>

static const char pictureFormat[] = "ffmpeg.exe: the picture has %dx%d pixels";

std::string pictureLine(const PictureSize &size)
{
    char text[sizeof pictureFormat + 24];
    std::snprintf(text, sizeof text, pictureFormat, size.width, size.height);
    return text;
}

std::optional<PictureSize> readPictureLine(const std::string &line)
{
    PictureSize size;
    if (std::sscanf(line.c_str(), pictureFormat, &size.width, &size.height) != 2 ||
        line != pictureLine(size))
        return std::nullopt;
    return size;
}

std::string frameRuleText(const FrameRule &rule)
{
    if (rule.kind == FrameRule::AsItComes)
        return "source";
    return (rule.kind == FrameRule::Within ? "within " : "exactly ") +
           std::to_string(rule.size.width) + "x" + std::to_string(rule.size.height);
}

std::optional<FrameRule> readFrameRule(const std::string &text)
{
    FrameRule rule;
    const size_t blank = text.find(' ');
    if (blank != std::string::npos) {
        rule.kind = text[0] == 'w' ? FrameRule::Within : FrameRule::Exactly;
        std::sscanf(text.c_str() + blank, "%dx%d", &rule.size.width, &rule.size.height);
    }
    const bool hasSize = rule.size.width > 0 && rule.size.height > 0;
    if (text != frameRuleText(rule) || hasSize == (rule.kind == FrameRule::AsItComes))
        return std::nullopt;
    return rule;
}
