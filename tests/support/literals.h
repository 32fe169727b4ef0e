#pragma once

#include <QString>

// Texts of tests: "clip"_q is a QString.
inline QString operator""_q(const char *text, std::size_t length)
{
    return QString::fromUtf8(text, static_cast<int>(length));
}
