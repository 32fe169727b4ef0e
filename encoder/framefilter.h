#pragma once

#include "adapterwords.h"

#include <string>

// How the frame of the result is made from the frame that comes, whatever anybody said of it.
struct Frame
{
    FrameRule rule;
    // Of the bars that fill an exact size, and one that is a bound only where it has a colour.
    std::optional<std::string> barColor;
    // Width over height of the frame as it is shown, "16/9"; empty for square pixels.
    std::string shape;
};

// Filters for FFmpeg that keep the picture's shape. They give even lengths: encoders of 4:2:0
// pictures refuse odd ones, and bars there begin at even pixels. Pixels that are not square stay
// so, unless there are bars beside them or the size is exact.
std::string frameFilters(const Frame &frame);
