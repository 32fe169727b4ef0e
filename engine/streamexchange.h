#pragma once

#include "streamanswer.h"

#include <QNetworkRequest>

class JobRecord;
class QNetworkReply;
struct SiteAccess;

// A stream's question and answer as the network layer has them.

// address: the stream's, or where it redirected to. offset: first byte asked for; 0: the whole
// stream. stallTimeout: milliseconds without a byte.
QNetworkRequest streamRequest(const JobRecord &record, const SiteAccess &access,
                              const QUrl &address, qint64 offset, int stallTimeout);
AnswerHead headOf(const QNetworkReply &reply);
