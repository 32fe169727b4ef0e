#pragma once

#include "jobtrouble.h"

#include <QSet>

// Finds out from what FFmpeg, and the adapter before it, say on standard error why a conversion
// failed. Of the lines it keeps what it needs, whatever there are of them.
class EncoderFault final
{
public:
    void take(const QString &line); // each one that tells no progress, in order
    void setCrashed();
    void setNotStarted();
    JobTrouble trouble() const; // once it has failed

private:
    void takeVerdict(const QString &text); // of the adapter
    void lookAtStreams(const QString &line);
    void find(qint32 code, const QString &detail = QString());

    JobTrouble m_found;
    QString m_said; // by a part of FFmpeg, last
    QString m_complaint;
    QSet<QString> m_soundOfInput; // numbers of streams
    QSet<QString> m_soundOfOutput;
};
