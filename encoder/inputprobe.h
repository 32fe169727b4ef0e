#pragma once

#include <string>

enum class InputKind {
    Undecided,  // more bytes are needed
    Streamable, // FFmpeg can read it from a pipe, or it is for FFmpeg to refuse
    NeedsFile   // MP4, MOV or 3GP whose index does not come before its pictures
};

// Judges a video by the boxes at its beginning. Of a video that is undecided at 1 MiB the answer is
// NeedsFile: a file can be read whatever comes.
InputKind probeInput(const std::string &head);
