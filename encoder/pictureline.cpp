#include "pictureline.h"

#include <cstdio>

static const char format[] = "ffmpeg.exe: the picture has %dx%d pixels";

std::string pictureLine(const PictureSize &size)
{
    char text[sizeof format + 24];
    std::snprintf(text, sizeof text, format, size.width, size.height);
    return text;
}

std::optional<PictureSize> readPictureLine(const std::string &line)
{
    PictureSize size;
    if (std::sscanf(line.c_str(), format, &size.width, &size.height) != 2 ||
        line != pictureLine(size))
        return std::nullopt;
    return size;
}
