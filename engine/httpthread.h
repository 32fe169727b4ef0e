#pragma once

#include "siteaccess.h"

#include <QString>
#include <QThread>

class CJSLib;
class HttpJob;
class JobRecord;
class OutputProfileManager;

// One transfer attempt of a job. The object lives on the user-interface thread and is a child of
// its job; the task lives in run(). What the attempt says reaches the job through this object, so
// nothing of an abandoned attempt arrives any more.
class HttpThread final : public QThread
{
    Q_OBJECT
    Q_DISABLE_COPY(HttpThread)

public:
    // outputFolder: where a new source file comes to be, ends with a separator.
    // stallTimeout: milliseconds without a byte.
    HttpThread(HttpJob *job, const QString &outputFolder, int stallTimeout);
    ~HttpThread() override; // ends the attempt when it still runs

    void setJob(HttpJob *job);
    // Ends the attempt, waits for the thread and lets the object delete itself. The wait is for
    // this machine only, never for the network.
    void abandon();

protected:
    void run() override;

private:
    void end();

    HttpJob *m_job; // null once abandoned; the thread itself uses the record
    JobRecord &m_record;
    QString m_outputFolder;
    int m_stallTimeout;
    const CJSLib &m_scripts;
    const OutputProfileManager &m_profiles;
    const SiteAccess m_access;
};
