#include "files.h"
#include "fuzz.h"

void fuzz(const QByteArray &input)
{
    constexpr int longestName = 255; // bytes
    const QString suffix = "_12.mp4"_q;
    const QString name = fittingBaseName(nameFromTitle(QString::fromUtf8(input)), suffix) + suffix;
    holds(staysInFolder(name) && !name.contains(QLatin1Char('/')));
    holds(!name.startsWith(QLatin1Char('.')) && name != suffix);
    holds(name.toUtf8().size() <= longestName);
}
