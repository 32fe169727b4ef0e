#include "contenttype.h"

#include "downloaderror.h"

namespace {

bool isPageExtension(const QString &extension)
{
    return extension.compare(QLatin1String("html"), Qt::CaseInsensitive) == 0 ||
           extension.compare(QLatin1String("htm"), Qt::CaseInsensitive) == 0;
}

} // namespace

QString sourceExtension(const QString &contentType)
{
    int separator = contentType.indexOf(QLatin1Char('-'));
    if (separator < 0)
        separator = contentType.indexOf(QLatin1Char('/'));
    if (separator < 0)
        return QString();
    const QString extension = contentType.mid(separator + 1);
    for (const QChar c : extension) {
        if (c == QLatin1Char('/') || c == QLatin1Char('\\') || c.category() == QChar::Other_Control)
            return QString();
    }
    return extension;
}

qint32 sourceTypeError(const QString &contentType)
{
    const QString extension = sourceExtension(contentType);
    if (extension.isEmpty())
        return NoContentType;
    return isPageExtension(extension) ? HtmlInsteadOfVideo : 0;
}

bool isPageType(const QString &contentType)
{
    return isPageExtension(sourceExtension(contentType)) ||
           contentType.startsWith(QLatin1String("text/html"), Qt::CaseInsensitive);
}
