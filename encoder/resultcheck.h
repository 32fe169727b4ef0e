#pragma once

#include "arguments.h"

#include <string>

// Looks at what the encoder has written, with the encoder's own eyes and at most the first second
// of it. Gives what is wrong in words, empty when all that was asked for is there.
std::string checkResult(const std::string &encoder, const EncoderCommand &command);
