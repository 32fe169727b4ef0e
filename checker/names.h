#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

// What files of a site are called, and what is in them.

extern const QStringList companionSuffixes; // the title's first

// The name of the script that a name with the suffix of a companion belongs to; empty for another.
QString scriptOfCompanion(const QString &name);

// Why no page's host could ever hold this name of a script; empty when one could.
QString nameProblem(const QString &name);

// The first line, from 1, that has a byte beyond ASCII; 0: none has.
int lineBeyondAscii(const QByteArray &bytes);

// Reads a file that has to be there, hold something and be no larger than the program takes.
// Empty, and why in the second, when it cannot be used.
QByteArray readUsable(const QString &path, QString *why);
