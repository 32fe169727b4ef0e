#include "encoderfault.h"

#include <QRegularExpression>

using Expression = QRegularExpression;

void EncoderFault::find(qint32 code, const QString &detail)
{
    // What follows from the first fault is no other.
    if (m_found.code == 0)
        m_found = {code, detail};
}

void EncoderFault::setCrashed()
{
    find(JobTrouble::FFmpegCrashed);
}

void EncoderFault::setNotStarted()
{
    find(JobTrouble::AdapterMissing);
}

JobTrouble EncoderFault::trouble() const
{
    return m_found.code != 0 ? m_found : JobTrouble{JobTrouble::ConversionFailed, m_complaint};
}

// "[aac @ 0x55ea] text" is what one of FFmpeg's parts says; most of what matters comes so.
static QString withoutSpeaker(const QString &line)
{
    static const Expression speaker(QStringLiteral("^\\[[^\\]]* @ 0x[0-9a-f]+\\] "));
    return QString(line).remove(speaker).trimmed();
}

void EncoderFault::take(const QString &line)
{
    static const QString adapter = QStringLiteral("ffmpeg.exe: ");
    static const Expression noEncoder(
        QStringLiteral("^Unknown encoder '(.+)'|encoder selection failed .*\\(codec (\\S+)\\)"));
    static const Expression refused(
        QStringLiteral("output stream #?0:(\\d+) -- Error while opening encoder"));
    static const Expression unreadable(
        QStringLiteral("^\\S+: Invalid data found when processing input$"));
    static const Expression complaint(
        QStringLiteral("\\b([Ee]rror|[Cc]ould not|[Cc]annot|[Uu]nable|[Ii]nvalid|[Uu]nknown|"
                       "[Uu]nrecognized|not supported|No such|denied|[Ee]xpected)\\b"));

    if (line.startsWith(adapter))
        return takeVerdict(line.mid(adapter.size()));
    lookAtStreams(line);
    if (line.contains(QLatin1String("No space left on device")))
        return find(JobTrouble::DiskFull);
    if (const auto match = noEncoder.match(line); match.hasMatch())
        return find(JobTrouble::EncoderMissing, match.captured(1) + match.captured(2));
    if (const auto match = refused.match(line); match.hasMatch())
        return find(m_soundOfOutput.contains(match.captured(1)) ? JobTrouble::SoundRefused
                                                                : JobTrouble::PictureRefused,
                    m_said);
    if (unreadable.match(line).hasMatch())
        return find(JobTrouble::SourceUnreadable, m_said);
    const QString text = withoutSpeaker(line);
    if (text.size() < line.trimmed().size())
        m_said = text;
    if (complaint.match(text).hasMatch() && !text.endsWith(QLatin1String("--")))
        m_complaint = text;
}

void EncoderFault::takeVerdict(const QString &text)
{
    static const QString notWritten = QStringLiteral(" could not be written: ");
    if (text.startsWith(QLatin1String("cannot start ")))
        find(JobTrouble::FFmpegMissing);
    else if (text.startsWith(QLatin1String("the video has no picture")))
        find(JobTrouble::PictureMissing);
    else if (text.startsWith(QLatin1String("cannot read the video")))
        find(JobTrouble::SourceUnreadable, text.section(QLatin1String(": "), 1));
    else if (text.contains(notWritten))
        find(JobTrouble::OutputNotWritten, text.section(notWritten, 1));
    else // of the output, by its path
        find(JobTrouble::OutputUnusable, text.section(QLatin1Char('/'), -1));
}

// "  Stream #0:1(und): Audio: aac" of the input, then "  Stream #0:1 -> #0:0 (aac ...".
void EncoderFault::lookAtStreams(const QString &line)
{
    static const Expression sound(QStringLiteral("^  Stream #0:(\\d+)\\b.*: Audio: "));
    static const Expression mapped(QStringLiteral("^  Stream #0:(\\d+) -> #0:(\\d+) "));
    if (const auto match = sound.match(line); match.hasMatch())
        m_soundOfInput += match.captured(1);
    else if (const auto mapping = mapped.match(line);
             mapping.hasMatch() && m_soundOfInput.contains(mapping.captured(1)))
        m_soundOfOutput += mapping.captured(2);
}
