#pragma once

#include <QByteArray>

// What a Content-Range header says, in bytes; -1 for what it does not say.
struct ContentRange
{
    qint64 first = -1; // offset of the first byte of the body
    qint64 total = -1; // length of the whole
};

// "bytes 10-19/200" and "bytes */200"; anything else says nothing.
ContentRange parseContentRange(const QByteArray &header);
