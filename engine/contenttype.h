#pragma once

#include <QString>

// What a Content-Type says about a source file.

// The part that serves as file extension, behind the first "-" or else the first "/"; empty when
// there is none that can be part of a file name.
QString sourceExtension(const QString &contentType);
// 0, or the DownloadError of a type that no source file can have.
qint32 sourceTypeError(const QString &contentType);
// A page, with or without parameters behind its type: a network's log-in, as a rule.
bool isPageType(const QString &contentType);
