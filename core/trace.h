#pragma once

#include <QDebug>
#include <QLoggingCategory>

// The debug channel. Off unless QT_LOGGING_RULES turns "reelkeeper.trace" on: a running transfer
// writes a line for every chunk.
Q_DECLARE_LOGGING_CATEGORY(lcTrace)
#define TRACE() qCDebug(lcTrace).noquote()
