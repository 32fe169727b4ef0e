#pragma once

#include <QByteArray>
#include <QString>

// The text of a page's bytes, by the charset that a meta tag of its head declares, UTF-8 without
// one. A page is never refused for its encoding. The address is for the debug channel. Any thread.
QString decodePage(const QByteArray &body, const QString &address);
