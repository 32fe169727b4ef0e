#include "report.h"

#include <cstdio>

namespace {
constexpr int longestComplaint = 4000; // characters

void write(std::FILE *file, const QString &text)
{
    std::fprintf(file, "%s\n", text.toUtf8().constData());
    std::fflush(file);
}
} // namespace

void Report::line(const QString &text)
{
    write(stdout, text);
}

void Report::detail(const QString &text)
{
    write(stdout, QStringLiteral("    ") + text);
}

void Report::note(const QString &text)
{
    write(stdout, QStringLiteral("note: ") + text);
}

void Report::problem(const QString &text)
{
    m_failed = true;
    write(stdout, QStringLiteral("problem: ") + text);
}

QString shown(const QString &text, int longest)
{
    QString result;
    for (const QChar c : text.left(longest)) {
        if (c == QLatin1Char('\n'))
            result += QStringLiteral("\\n");
        else if (c.category() == QChar::Other_Control || c.category() == QChar::Other_Format)
            result += QStringLiteral("\\u%1").arg(int(c.unicode()), 4, 16, QLatin1Char('0'));
        else
            result += c;
    }
    if (text.size() > longest)
        result += QStringLiteral("... (%1 characters)").arg(text.size());
    return result;
}

void complain(const QString &text)
{
    write(stderr, QStringLiteral("reelkeeper-check: ") + shown(text, longestComplaint));
}
