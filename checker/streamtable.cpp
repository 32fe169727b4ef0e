#include "streamtable.h"

#include "outputprofilemanager.h"
#include "report.h"
#include "texts.h"

#include <QUrl>

StreamTable::StreamTable(Report &report)
    : m_report(report)
{
}

void StreamTable::read(const QString &streamText)
{
    const QVector<StreamRecord> records = PageAnalysis::splitRecords(streamText);
    m_report.line(QStringLiteral("records: %1").arg(records.size()));
    for (int i = 0; i < records.size(); ++i) {
        if (records.at(i).fate == StreamRecord::TooMany) {
            m_report.detail(QStringLiteral("%1 and those behind it left out: more than %2 streams")
                                .arg(i + 1)
                                .arg(PageAnalysis::mostStreams));
            return;
        }
        tell(i + 1, records.at(i));
    }
}

void StreamTable::tell(int number, const StreamRecord &record)
{
    const QString start = QStringLiteral("%1 ").arg(number);
    const QString text = shown(record.text);
    if (record.fate == StreamRecord::NotTwoHalves) {
        m_report.detail(start + QStringLiteral("left out, not two halves with one | between: ") +
                        text);
    } else if (record.fate == StreamRecord::NotFourFields) {
        m_report.detail(start + QStringLiteral("left out, not four fields with $ between: ") +
                        text);
    } else if (record.fate == StreamRecord::NoWebAddress) {
        m_report.detail(start + QStringLiteral("left out, no http or https address: ") + text);
    } else if (PageAnalysis::isDuplicate(m_streams, record.stream)) {
        m_report.detail(start + QStringLiteral("duplicate, size and address were there: ") + text);
    } else {
        m_streams.append(record.stream);
        m_numbers.append(number);
        tellStream(start, record.stream);
    }
}

void StreamTable::tellStream(const QString &number, const VideoStream &stream)
{
    // The job fetches it decoded.
    const QString address = decodeUrl(stream.videoAddress);
    m_report.detail(number + QStringLiteral("kept: %1, %2 s, \"%3\", %4: %5")
                                 .arg(shown(stream.dimension), shown(stream.length),
                                      shown(stream.extra), shown(stream.type), shown(address)));
    const FrameSize size = splitSize(stream.dimension);
    if (size.width <= 0 || size.height <= 0)
        m_report.note(QStringLiteral("no quality setting knows its size"));
    if (!stream.type.contains(QLatin1String("mp4")) && !stream.type.contains(QLatin1String("flv")))
        m_report.note(QStringLiteral("no quality setting looks at a type without mp4 or flv"));
    if (stream.videoAddress.startsWith(QLatin1String("http://https:")) ||
        QUrl(address).host().isEmpty())
        m_report.problem(QStringLiteral("record %1cannot be fetched from its address").arg(number));
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
