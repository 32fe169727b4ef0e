#include "texts.h"

#include "platform.h"

#include <QDate>
#include <QRegExp>
#include <QStringList>
#include <QUrl>

QString ensurePrefix(const QString &text, const QString &prefix)
{
    return text.startsWith(prefix) ? text : prefix + text;
}

QString replaceAll(const QString &text, const QString &before, const QString &after)
{
    // The toolkit takes an empty text as found between any two characters.
    if (before.isEmpty())
        return text;
    QString result = text;
    return result.replace(before, after);
}

QString quoted(const QString &text)
{
    return QLatin1Char('"') + text + QLatin1Char('"');
}

QString decodeUrl(const QString &text)
{
    return QUrl::fromEncoded(text.toUtf8()).toString();
}

QString newGuidText()
{
    return platform::newGuid();
}

int dayOfYear()
{
    return QDate::currentDate().dayOfYear();
}

bool isUrl(const QString &text)
{
    static const QRegExp pattern(QStringLiteral("([/w-]+/.)+[/w-]+.([^a-z])(/[/w-: ./?%&=]*)?"
                                                "|[a-zA-Z/-/.][/w-]+.([^a-z])(/[/w-: ./?%&=]*)?"));
    return pattern.indexIn(text) >= 0;
}

QString formatSize(qint64 bytes)
{
    constexpr qint64 kilo = 1024;
    constexpr qint64 mega = kilo * 1024;
    constexpr qint64 giga = mega * 1024;
    const auto inUnits = [bytes](qint64 unit) {
        return QString::number(double(bytes) / double(unit), 'f', 1);
    };
    if (bytes <= kilo)
        return QString::number(bytes) + QStringLiteral(" B");
    if (bytes <= mega)
        return inUnits(kilo) + QStringLiteral(" KB");
    if (bytes <= giga)
        return inUnits(mega) + QStringLiteral(" MB");
    return inUnits(giga) + QStringLiteral(" GB");
}

QString formatDuration(int seconds)
{
    const int hours = seconds / 3600;
    const QString rest = twoDigits(seconds / 60 % 60) + QLatin1Char(':') + twoDigits(seconds % 60);
    return hours > 0 ? twoDigits(hours) + QLatin1Char(':') + rest : rest;
}

QString twoDigits(int value)
{
    const QString digits = QString::number(value);
    return value <= 9 ? QLatin1Char('0') + digits : digits;
}

FrameSize splitSize(const QString &text)
{
    const QStringList parts = text.split(QLatin1Char('x'));
    if (parts.size() != 2)
        return {};
    return {parts.at(0).toInt(), parts.at(1).toInt()};
}
