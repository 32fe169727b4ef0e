#pragma once

#include "streamanswer.h"

#include <QNetworkRequest>

class JobRecord;
class QNetworkReply;

// A stream's question and answer as the network layer has them.

// offset: first byte asked for; 0: the whole stream. stallTimeout: milliseconds without a byte.
QNetworkRequest streamRequest(const JobRecord &record, qint64 offset, int stallTimeout);
AnswerHead headOf(const QNetworkReply &reply);
