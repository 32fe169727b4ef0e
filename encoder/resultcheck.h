#pragma once

#include "arguments.h"
#include "pictureline.h"

// What the encoder has written.
struct Result
{
    std::optional<std::string> fault; // what is wrong, in words
    PictureSize picture;              // of a faultless one
};

// Looks at the output with the encoder's own eyes, and at most at the first second of it.
Result checkResult(const std::string &encoder, const EncoderCommand &command);
