#include "fuzz.h"
#include "pagetext.h"

// A page is never refused for its encoding; a byte order mark alone is no page.
void fuzz(const QByteArray &input)
{
    constexpr int longestMark = 4;
    holds(input.size() <= longestMark || !decodePage(input, QString()).isEmpty());
}
