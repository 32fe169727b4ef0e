#pragma once

#include <QString>

// What a check found, as lines on standard output, each written at once: a script that brings the
// program down leaves what was found before it.
class Report final
{
public:
    void line(const QString &text);
    void detail(const QString &text); // belongs to the line before it
    void note(const QString &text);   // worth a look, but nothing is wrong
    // What has to be mended: the check has failed.
    void problem(const QString &text);
    bool failed() const { return m_failed; }

private:
    bool m_failed = false;
};

// A text of a stranger's for one line: control characters escaped, cut when it is long.
QString shown(const QString &text, int longest = 300);

// The reason why the program cannot do what it was told, on standard error.
void complain(const QString &text);
