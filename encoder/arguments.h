#pragma once

#include "adapterwords.h"

#include <optional>
#include <string>
#include <vector>

// A command line for today's FFmpeg.
struct EncoderCommand
{
    std::vector<std::string> arguments; // without the program
    std::optional<size_t> inputIndex;   // of the "-" after -i in arguments
    std::string output;                 // the file to be written; empty: none is named
    bool copiesVideo = false;           // without encoding it anew
    bool needsPicture = true;           // the input must hold one
    bool wantsVideo = true;             // the output must hold a picture
    bool wantsAudio = false;            // the output must hold sound
};

// Turns the arguments of a template, written for FFmpeg of old, into today's: the frame size and
// the pad options after the input become filters that keep the rule, by themselves or, without a
// rule, to the pixel. Sizes are pixels.
EncoderCommand translateArguments(const std::vector<std::string> &arguments,
                                  const std::optional<FrameRule> &rule = std::nullopt);
