#include "trace.h"

Q_LOGGING_CATEGORY(lcTrace, "reelkeeper.trace", QtWarningMsg)
