#pragma once

#include "pageanalysis.h"

#include <QString>
#include <QVector>

class OutputProfileManager;
class Report;

// The streams that a stream text gives, told record by record.
class StreamTable final
{
public:
    // access: of the page.
    StreamTable(Report &report, const SiteAccess &access);

    // What becomes of each record, counted from 1.
    void read(const QString &streamText);
    // The record that each quality setting takes.
    void tellQualities(const OutputProfileManager &profiles) const;
    bool isEmpty() const { return m_streams.isEmpty(); }

private:
    void tell(int number, const StreamRecord &record);
    void keep(int number, const StreamRecord &record);

    Report &m_report;
    const SiteAccess m_access;
    QVector<VideoStream> m_streams; // those that are kept
    QVector<int> m_numbers;         // of their records
};
