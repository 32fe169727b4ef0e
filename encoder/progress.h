#pragma once

#include <string>

// A progress line of FFmpeg with a frame number and decimal seconds ("frame=  75 ... time=10.00"),
// empty when the line is none.
std::string readableProgress(const std::string &line);

// Whether the line says that the output could not be written. The output's own name is not looked
// at.
bool namesWriteFailure(std::string line, const std::string &output);

// The quarter turns, 0 to 3, that a line about a stream says are to be made before it is shown.
int turnsOf(const std::string &line);
