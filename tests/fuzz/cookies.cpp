#include "cookies.h"
#include "fuzz.h"

// What becomes the header of a request is one line.
void fuzz(const QByteArray &input)
{
    const QString text = Cookies::folded(input);
    holds(!text.contains(QLatin1Char('\n')) && !text.contains(QLatin1Char('\r')));
}
