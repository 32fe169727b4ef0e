#include "streamanswer.h"

#include "contenttype.h"
#include "downloaderror.h"

#include <QNetworkReply>

#include <algorithm>

namespace {

// Sent back and stored as it came, so it has to be what it should be.
bool isHeaderText(const QByteArray &text)
{
    constexpr int longest = 1024;
    const auto isPlain = [](char c) { return c >= ' ' && c <= '~'; };
    return !text.isEmpty() && text.size() <= longest &&
           std::all_of(text.begin(), text.end(), isPlain);
}

// One tag in quotes; those that begin with W/ promise the same picture, not the same bytes.
bool isStrongTag(const QByteArray &etag)
{
    return etag.size() > 2 && etag.startsWith('"') && etag.indexOf('"', 1) == etag.size() - 1 &&
           isHeaderText(etag);
}

// False when the answer belongs to another version than the validator does.
bool mayBelongTo(const QByteArray &validator, const AnswerHead &head)
{
    if (validator.startsWith('"'))
        return !isStrongTag(head.etag) || head.etag == validator;
    return validator.isEmpty() || head.lastModified.isEmpty() || head.lastModified == validator;
}

} // namespace

QByteArray AnswerHead::validator() const
{
    if (isStrongTag(etag))
        return etag;
    return isHeaderText(lastModified) ? lastModified : QByteArray();
}

StreamAnswer StreamAnswer::to(const StreamQuestion &question, const AnswerHead &head)
{
    const bool resumed = question.offset > 0;
    const qint64 told = head.range.total;
    const bool sameFile = (told < 0 || question.total < 0 || told == question.total) &&
                          mayBelongTo(question.validator, head);
    // An answer that cannot take the place of what is here is no reason to give that up: the job
    // tries again.
    const StreamAnswer notNow{Fail, -1, QNetworkReply::UnknownContentError};

    // A range past the end: either every byte is here, or the file on the server is another.
    if (head.status == 416 && resumed) {
        const bool complete = told == question.offset && sameFile;
        return complete ? StreamAnswer{Complete, told} : StreamAnswer{StartOver};
    }
    // The page of an error answer arrives before the error is known.
    if (head.status >= 400)
        return {Ignore};
    // Asked for the plain bytes, and got them packed all the same (by a proxy, as a rule): stored,
    // they would be no video, and no offset would be true.
    const bool packed = !head.encoding.isEmpty() && head.encoding != "identity";
    if (question.held > 0 && (packed || isPageType(head.contentType)))
        return notNow;
    if (packed)
        return {Short};
    if (question.pagesRefused && isPageType(head.contentType))
        return {Fail, -1, HtmlInsteadOfVideo};

    if (resumed && head.status == 206) {
        if (head.range.first != question.offset || !sameFile)
            return {StartOver};
        return {Append, question.total < 0 ? told : question.total};
    }
    if (resumed && head.status != 200)
        return notNow; // the way to a network's log-in page, as a rule
    if (head.status == 206 && head.range.first > 0)
        return question.held > 0 ? notNow : StreamAnswer{Ignore};

    // What is left is the stream from its beginning, or something in its place.
    const qint32 typeError = sourceTypeError(head.contentType);
    if (question.held > 0 && (typeError != 0 || head.length <= 0))
        return notNow;
    if (typeError != 0)
        return {Fail, -1, typeError};
    if (head.length < 0)
        return {Fail, -1, NoContentLength};
    // Of a part that nobody asked for, the rest is fetched like after any short transfer.
    return {Begin, head.status == 206 && told >= 0 ? told : head.length};
}
