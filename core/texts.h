#pragma once

#include <QString>

// Text helpers that the whole program shares. User-interface thread unless said otherwise.

// The text with prefix in front, unless it begins with it (case-sensitive). Any thread.
QString ensurePrefix(const QString &text, const QString &prefix);
// Every occurrence replaced; what a replacement inserted is not searched again. Any thread.
QString replaceAll(const QString &text, const QString &before, const QString &after);
QString quoted(const QString &text);    // in double quotes
QString decodeUrl(const QString &text); // percent-decoded. Any thread.
// A fresh GUID, upper case with braces, 38 characters.
QString newGuidText();
int dayOfYear(); // 1 to 366. Any thread.
bool isUrl(const QString &text);
QString formatSize(qint64 bytes);
QString formatDuration(int seconds); // "01:01", with hours only when there are any
QString twoDigits(int value);
// Width and height of a text like "640x360"; 0 and 0 when it has not exactly two parts.
struct FrameSize
{
    int width = 0;
    int height = 0;
};
FrameSize splitSize(const QString &text); // any thread
