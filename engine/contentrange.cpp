#include "contentrange.h"

#include <QRegularExpression>

ContentRange parseContentRange(const QByteArray &header)
{
    static const QRegularExpression form(
        QStringLiteral("^\\s*bytes\\s+(?:\\*|(\\d+)\\s*-\\s*\\d+)\\s*/\\s*(?:\\*|(\\d+))\\s*$"),
        QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = form.match(QString::fromLatin1(header));
    ContentRange range;
    bool ok = false;
    if (const qint64 first = match.captured(1).toLongLong(&ok); ok)
        range.first = first;
    if (const qint64 total = match.captured(2).toLongLong(&ok); ok)
        range.total = total;
    return range;
}
