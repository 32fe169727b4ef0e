#pragma once

#include "contentrange.h"

#include <QByteArray>
#include <QString>

// The head of an answer, as far as it decides what becomes of the body.
struct AnswerHead
{
    int status = 0;
    QString contentType;
    qint64 length = -1; // bytes of the body, -1 when it is not told
    ContentRange range;
    QByteArray encoding; // of the body; empty or "identity" for the plain bytes
    QByteArray etag = {};
    QByteArray lastModified = {};

    // What tells this version of the stream from every other: the entity tag, when it promises the
    // same bytes, or else the date. Empty when there is neither.
    QByteArray validator() const;
};

// What the answer was asked for, and what is here already.
struct StreamQuestion
{
    qint64 offset = 0;         // first byte asked for; 0: the whole stream
    qint64 held = 0;           // bytes in the source file
    qint64 total = -1;         // bytes of the whole stream, -1 when unknown
    QByteArray validator = {}; // of the stream that is held; empty when unknown
    bool pagesRefused = false; // see SiteAccess
};

// What to do about an answer. Told from its head alone, before a byte of the file is touched.
struct StreamAnswer
{
    enum Kind {
        Append,    // the body goes on where the source file ends
        Begin,     // the body is the stream from byte 0, in place of what is here
        Ignore,    // the body is not the stream; the end of the answer says what it is
        StartOver, // no use; to be asked again for the whole stream
        Complete,  // every byte is here already
        Short,     // counts as a transfer that ended short
        Fail,      // the attempt ends with the code
    };

    Kind kind = Ignore;
    qint64 total = -1; // Append, Begin, Complete: bytes of the whole stream, -1 when unknown
    qint32 code = 0;   // Fail: a DownloadError or a QNetworkReply::NetworkError

    static StreamAnswer to(const StreamQuestion &question, const AnswerHead &head);
};
