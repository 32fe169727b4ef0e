#pragma once

#include "adapterwords.h"

#include <QString>

struct SaveAsItem;

// The command line of the encoder, built from an output format and a job. Any thread.

// Fits the source picture into the target box, keeps its shape and pads the rest with black:
// "320x180 -padtop 30 -padbottom 30 -padcolor 0x000000". The target as it stands when the shapes
// are alike, and when one of the two sizes is unknown or zero.
QString frameSizeArgument(const QString &source, const QString &target);

struct EncoderSize
{
    QString argument;     // what stands for $size
    QString dimension;    // frame size that the converted file is to have, "640x360"
    FrameRule rule;       // what the format asks of the frame, whatever the page said of the video
    bool unknown = false; // the source size could not be read
};
EncoderSize encoderSize(const SaveAsItem &item, const QString &source);

// Full path of the converted file. folder ends with a separator.
QString encoderOutputPath(const QString &folder, const QString &guid, const SaveAsItem &item,
                          const QString &dimension, bool appendDeviceName);

// What stands for the placeholders of a template.
struct EncoderTexts
{
    QString size; // EncoderSize::argument
    QString title;
    QString output; // path
};
// The template with its placeholders filled; the text after the program's path.
QString encoderArguments(const QString &commandTemplate, const EncoderTexts &texts);

// In double quotes, such that QProcess::splitCommand gives the text back as one argument.
QString quotedArgument(const QString &text);
