#include "streamtable.h"

#include "outputprofilemanager.h"
#include "report.h"
#include "texts.h"

#include <QUrl>

namespace {
constexpr int longestRecord = 4000; // characters that are shown

QString reason(StreamRecord::Fate fate)
{
    switch (fate) {
    case StreamRecord::Read:
        break;
    case StreamRecord::NotTwoHalves:
        return QStringLiteral("not two halves with one | between");
    case StreamRecord::NotFourFields:
        return QStringLiteral("not four fields with $ between");
    case StreamRecord::NoWebAddress:
        return QStringLiteral("no address with http:// or https://");
    case StreamRecord::TooMany:
        return QStringLiteral("more than %1 streams").arg(PageAnalysis::mostStreams);
    }
    return QString();
}
} // namespace

StreamTable::StreamTable(Report &report, const SiteAccess &access)
    : m_report(report)
    , m_access(access)
{
}

void StreamTable::read(const QString &streamText)
{
    const QVector<StreamRecord> records = PageAnalysis::splitRecords(streamText, m_access);
    m_report.line(QStringLiteral("records: %1").arg(records.size()));
    for (int i = 0; i < records.size(); ++i) {
        if (records.at(i).fate == StreamRecord::TooMany) {
            m_report.detail(QStringLiteral("%1 and those behind it left out, %2")
                                .arg(i + 1)
                                .arg(reason(StreamRecord::TooMany)));
            return;
        }
        tell(i + 1, records.at(i));
    }
}

void StreamTable::tell(int number, const StreamRecord &record)
{
    const bool kept =
        record.fate == StreamRecord::Read && !PageAnalysis::isDuplicate(m_streams, record.stream);
    QString fate = QStringLiteral("kept");
    if (record.fate != StreamRecord::Read)
        fate = QStringLiteral("left out, ") + reason(record.fate);
    else if (!kept)
        fate = QStringLiteral("duplicate, size and address were there");
    m_report.detail(QStringLiteral("%1 %2: ").arg(QString::number(number), fate) +
                    shown(record.text, longestRecord));
    if (kept)
        keep(number, record);
}

void StreamTable::keep(int number, const StreamRecord &record)
{
    const VideoStream &stream = record.stream;
    m_streams.append(stream);
    m_numbers.append(number);
    const QString address = m_access.keptAddress(stream.videoAddress);
    if (!record.text.endsWith(QLatin1Char('|') + address))
        m_report.detail(QStringLiteral("  fetched from ") + shown(address, longestRecord));
    const FrameSize size = splitSize(stream.dimension);
    if (size.width <= 0 || size.height <= 0)
        m_report.note(QStringLiteral("no quality setting knows its size"));
    if (!stream.type.contains(QLatin1String("mp4")) && !stream.type.contains(QLatin1String("flv")))
        m_report.note(QStringLiteral("no quality setting looks at a type without mp4 or flv"));
    if (stream.videoAddress.startsWith(QLatin1String("http://https:")) ||
        QUrl(address).host().isEmpty())
        m_report.problem(QStringLiteral("record %1 cannot be fetched from its address%2")
                             .arg(QString::number(number),
                                  m_access.page.isEmpty()
                                      ? QStringLiteral(": without --url the page is a plain one")
                                      : QString()));
}

void StreamTable::tellQualities(const OutputProfileManager &profiles) const
{
    const QVector<VideoQuality> &qualities = profiles.qualities();
    QStringList names;
    for (int i = 0; i < qualities.size(); ++i) {
        const int stream = profiles.matchQuality(m_streams, i);
        names.append(qualities.at(i).display);
        if (i + 1 < qualities.size() && profiles.matchQuality(m_streams, i + 1) == stream)
            continue;
        m_report.line(QStringLiteral("quality %1: record %2")
                          .arg(names.join(QStringLiteral(", ")))
                          .arg(m_numbers.at(stream)));
        names.clear();
    }
}
