#include "contentrange.h"
#include "fuzz.h"

void fuzz(const QByteArray &input)
{
    const ContentRange range = parseContentRange(input);
    holds(range.first >= -1 && range.total >= -1);
}
