#pragma once

#include "arguments.h"
#include "linesplitter.h"

#include <string>

class ChildProcess;

// One conversion: standard input goes to the encoder, what the encoder says goes to standard error
// with its progress lines made readable. Neither ever holds more than 2 MiB.
class EncoderRun final
{
public:
    EncoderRun(const std::string &encoder, const EncoderCommand &command);
    ~EncoderRun();
    int exec(); // exit code, below 255

private:
    int encodeSource();
    int encode(int standardInput);
    void relay();
    void passInput();
    void handleLine(const std::string &line, char end);
    void lookAtSource(const std::string &line);

    std::string m_encoder;
    EncoderCommand m_command;
    ChildProcess *m_child = nullptr; // while it is listened to
    LineSplitter m_lines;
    std::string m_input;    // taken from standard input, not yet by the encoder
    std::string m_messages; // for standard error
    std::string m_writeFailure;
    bool m_inSource = true; // what the encoder says is about the video it reads
    bool m_hasPicture = false;
    bool m_pictureMissing = false;
    int m_turns = 0;           // of the picture there, by quarters
    bool m_inputWaits = false; // standard input has something, or its end, to give
    bool m_inputEnded = false;
    int m_toEncoder = -1;
    int m_fromEncoder = -1;
};

// One line on standard error; gives the exit code for it.
int reportFailure(const std::string &text);
