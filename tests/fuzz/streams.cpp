#include "fuzz.h"
#include "outputprofilemanager.h"
#include "pageanalysis.h"

// The choice among the streams of a stream text, for every quality and two that do not exist.
void fuzz(const QByteArray &input)
{
    static OutputProfileManager manager(options());
    static const bool loaded = manager.load(QStringLiteral(PROFILES));
    holds(loaded);
    const auto streams = PageAnalysis::splitStreams(QString::fromUtf8(input));
    for (int quality = -2; quality <= manager.qualities().size(); ++quality) {
        const int chosen = manager.matchQuality(streams, quality);
        holds(chosen >= 0 && (chosen < streams.size() || streams.isEmpty()));
    }
}
