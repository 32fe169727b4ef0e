#pragma once

#include "literals.h"

#include <QByteArray>
#include <QString>

class Options;

// What a target does with one input from outside.
void fuzz(const QByteArray &input);

// What must be so for every input; the fuzzer keeps the input for which it is not.
inline void holds(bool promise)
{
    if (!promise)
        __builtin_trap();
}

Options &options(); // the defaults

// For what reads files: the path of one, in memory, with that content.
QString asFile(const QByteArray &content);

// A name that leaves its folder neither as it stands nor as the system reads it, up to a NUL.
bool staysInFolder(const QString &name);
