#pragma once

#include <QString>

// Short videos made by FFmpeg from its test sources, made once and kept in the build folder.
// An empty path means that FFmpeg is not there or failed.
enum class Sample {
    Flv,           // 640x360, 3 s, H.264/MP3
    Mp4IndexFirst, // 640x360, 3 s, H.264/AAC
    Mp4IndexLast,  // the same with its index at the end
};
QString samplePath(Sample sample);
