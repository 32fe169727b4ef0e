#include "fuzz.h"
#include "inputprobe.h"

// What was decided about the beginning of a video is not taken back when more of it comes.
void fuzz(const QByteArray &input)
{
    const InputKind half = probeInput(input.left(input.size() / 2).toStdString());
    holds(half == InputKind::Undecided || half == probeInput(input.toStdString()));
}
