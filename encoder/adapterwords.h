#pragma once

#include <optional>
#include <string>

// What the program and the adapter tell each other beside the arguments and the progress.

// Pixels; 0 and 0 when there is no picture.
struct PictureSize
{
    int width = 0;
    int height = 0;
};

// The adapter's last line on standard error: the picture of the finished file as it is shown, so
// that one which is turned by a quarter has its lengths exchanged. Nobody else knows it.
std::string pictureLine(const PictureSize &size);
// Nothing for every other line.
std::optional<PictureSize> readPictureLine(const std::string &line);

// Exit code of the adapter when FFmpeg did not end by itself.
inline constexpr int violentEnd = 254;

// What a format asks of the frame. The size on the command line cannot tell: it may be the format's
// own, or what the page said of the video.
struct FrameRule
{
    enum Kind {
        AsItComes, // no size
        Within,    // not larger than the size
        Exactly    // the size, with bars where the picture has another shape
    };
    Kind kind = AsItComes;
    PictureSize size; // of a format that has one, both lengths above 0
};

// Environment variable that carries it, as "source", "within 1280x720" or "exactly 320x240".
inline constexpr char frameRuleVariable[] = "REELKEEPER_FRAME";
std::string frameRuleText(const FrameRule &rule);
std::optional<FrameRule> readFrameRule(const std::string &text); // nothing for another text

// Environment variable with the path of the file whose bytes come through standard input. A video
// that cannot be read from a pipe is read from there, once the input has ended and so all of it is
// in the file.
inline constexpr char sourceFileVariable[] = "REELKEEPER_SOURCE_FILE";
