#include "pagetext.h"

#include "trace.h"

#include <QTextCodec>

namespace {
QString declaredCharset(const QString &page, const QString &address)
{
    static const QString headStart = QStringLiteral("<head>");
    static const QString attribute = QStringLiteral("charset=");

    const int start = page.indexOf(headStart);
    const int end = page.indexOf(QLatin1String("</head>"));
    if (start < 0 || end < start)
        return QString();
    const int headBegin = start + headStart.size();
    const QString head = page.mid(headBegin, end - headBegin);
    int tagEnd = 0;
    // What begins inside of a tag ends with it and has no more to say: a page full of beginnings
    // is read once, not once for each.
    for (int tagStart = head.indexOf(QLatin1String("<meta ")); tagStart >= 0;
         tagStart = head.indexOf(QLatin1String("<meta "), tagEnd)) {
        tagEnd = head.indexOf(QLatin1Char('>'), tagStart);
        if (tagEnd < 0)
            break; // nor does any later one
        const QString tag = head.mid(tagStart, tagEnd - tagStart);
        const int found = tag.indexOf(attribute);
        if (found < 0)
            continue;
        const int valueStart = found + attribute.size();
        const int valueEnd = tag.indexOf(QLatin1Char('"'), valueStart);
        if (valueEnd < 0) {
            TRACE() << "strange error when tried to get charset setting in web page " << address;
            continue;
        }
        return tag.mid(valueStart, valueEnd - valueStart);
    }
    return QString();
}
} // namespace

QString decodePage(const QByteArray &body, const QString &address)
{
    const QString provisional =
        QString::fromLatin1(body.constData(), int(qstrnlen(body.constData(), uint(body.size()))));
    QString name = declaredCharset(provisional, address);
    if (name.isEmpty())
        name = QStringLiteral("UTF-8");
    const QTextCodec *codec = QTextCodec::codecForName(name.toLatin1());
    if (codec)
        return codec->toUnicode(body);
    TRACE() << "warning: codec invalid.  Set to " << name;
    TRACE() << "warning: codec invalid: " << name;
    return provisional;
}
