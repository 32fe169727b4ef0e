#pragma once

#include "adapterwords.h"
#include "arguments.h"

// What the encoder has written.
struct Result
{
    std::optional<std::string> fault; // what is wrong, in words
    PictureSize picture;              // of a faultless one
};

// Looks at the output with the encoder's own eyes, and at most at the first second of it. turns:
// quarter turns of the source's picture.
Result checkResult(const std::string &encoder, const EncoderCommand &command, int turns);
