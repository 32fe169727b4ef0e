#include "streamtable.h"

#include "outputprofilemanager.h"
#include "report.h"
#include "texts.h"

#include <QUrl>

namespace {
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
    if (record.fate != StreamRecord::Read)
        m_report.detail(
            QStringLiteral("%1 left out, %2: ").arg(QString::number(number), reason(record.fate)) +
            shown(record.text));
    else if (PageAnalysis::isDuplicate(m_streams, record.stream))
        m_report.detail(QStringLiteral("%1 duplicate, size and address were there: ").arg(number) +
                        shown(record.text));
    else
        tellStream(number, record.stream);
}

void StreamTable::tellStream(int number, const VideoStream &stream)
{
    m_streams.append(stream);
    m_numbers.append(number);
    const QString address = m_access.keptAddress(stream.videoAddress);
    m_report.detail(QStringLiteral("%1 kept: %2, %3 s, \"%4\", %5: ")
                        .arg(QString::number(number), shown(stream.dimension), shown(stream.length),
                             shown(stream.extra), shown(stream.type)) +
                    shown(address));
    const FrameSize size = splitSize(stream.dimension);
    if (size.width <= 0 || size.height <= 0)
        m_report.note(QStringLiteral("no quality setting knows its size"));
    if (!stream.type.contains(QLatin1String("mp4")) && !stream.type.contains(QLatin1String("flv")))
        m_report.note(QStringLiteral("no quality setting looks at a type without mp4 or flv"));
    if (stream.videoAddress.startsWith(QLatin1String("http://https:")) ||
        QUrl(address).host().isEmpty())
        m_report.problem(
            QStringLiteral("record %1 cannot be fetched from its address").arg(number));
}

void StreamTable::tellQualities(const OutputProfileManager &profiles) const
{
    const QVector<VideoQuality> &qualities = profiles.qualities();
    for (int i = 0; i < qualities.size(); ++i) {
        m_report.line(QStringLiteral("quality %1: record %2")
                          .arg(qualities.at(i).display)
                          .arg(m_numbers.at(profiles.matchQuality(m_streams, i))));
    }
}
