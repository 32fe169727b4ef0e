#pragma once

#include <optional>
#include <string>

// Pixels of a picture as it is shown: one that is turned by a quarter has its lengths exchanged.
// 0 and 0 when there is no picture.
struct PictureSize
{
    int width = 0;
    int height = 0;
};

// The adapter's last line on standard error, which says what the finished file has; it is the only
// one who knows.
std::string pictureLine(const PictureSize &size);
// Nothing for every other line.
std::optional<PictureSize> readPictureLine(const std::string &line);
