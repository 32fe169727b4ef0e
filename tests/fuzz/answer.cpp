#include "contenttype.h"
#include "downloaderror.h"
#include "fuzz.h"
#include "sourcefile.h"
#include "streamanswer.h"

// A head as lines: status, type, length, range, encoding.
void fuzz(const QByteArray &input)
{
    const QList<QByteArray> lines = input.split('\n');
    AnswerHead head;
    head.status = lines.value(0).toInt();
    head.contentType = QString::fromLatin1(lines.value(1));
    head.length = lines.value(2).isEmpty() ? -1 : qAbs(lines.value(2).toLongLong() / 2);
    head.range = parseContentRange(lines.value(3));
    head.encoding = lines.value(4);
    holds(head.range.first >= -1 && head.range.total >= -1);

    const QString extension = sourceExtension(head.contentType);
    holds(staysInFolder(SourceFile::pathFor(QString(), "{G}"_q, false, extension)));
    for (const StreamQuestion &question :
         {StreamQuestion(), StreamQuestion{1000, 1000, 2000}, StreamQuestion{1000, 1000, -1}}) {
        const StreamAnswer answer = StreamAnswer::to(question, head);
        const bool stored =
            answer.kind == StreamAnswer::Append || answer.kind == StreamAnswer::Begin;
        holds(!stored || (head.encoding.isEmpty() || head.encoding == "identity"));
        holds(!stored || question.held == 0 || !isPageType(head.contentType));
        // What is here goes for an answer that takes its place, or for a plain no.
        const bool keeps = answer.kind != StreamAnswer::Begin || answer.total > 0;
        holds(question.held == 0 || (keeps && !isFatalDownloadError(answer.code)));
        holds(question.held == 0 || answer.kind != StreamAnswer::Ignore || head.status >= 400);
        holds(question.held == 0 || answer.kind != StreamAnswer::Short);
        holds(answer.kind != StreamAnswer::Append || head.range.first == question.offset);
        holds(answer.kind != StreamAnswer::Begin || answer.total >= 0);
        holds(answer.kind != StreamAnswer::Complete || answer.total == question.held);
    }
}
