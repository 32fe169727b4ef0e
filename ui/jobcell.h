#pragma once

#include "speedmeter.h"

#include <QTableWidgetItem>

#include <memory>

class HttpJob;

// A cell of the download list. What it has to say beside what is painted is made when somebody asks
// for it: most cells of a long list are never pointed at.
class JobCell : public QTableWidgetItem
{
public:
    // column: one of DownloadColumns. job: must live as long as the cell.
    JobCell(int column, const HttpJob &job, const QString &text = QString());

    // Tool tip and accessible text tell how the job is, and why.
    QVariant data(int role) const override;

protected:
    const HttpJob &job() const { return m_job; }
    virtual QString tip() const;
    virtual QString spoken() const;

private:
    const HttpJob &m_job;
};

// The progress: of a stream whose length is not known the tip is the only sign of life.
class ProgressCell final : public JobCell
{
public:
    explicit ProgressCell(const HttpJob &job);
    void refresh(); // at every turn of the list in which there was progress

protected:
    QString tip() const override;
    QString spoken() const override;

private:
    std::unique_ptr<SpeedMeter> m_speed; // of a job that has received something
};
