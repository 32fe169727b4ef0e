#include "httpthread.h"

#include "httpjob.h"
#include "httptask.h"
#include "trace.h"

HttpThread::HttpThread(HttpJob *job, const QString &outputFolder, int stallTimeout)
    : QThread(job)
    , m_job(job)
    , m_record(job->record)
    , m_outputFolder(outputFolder)
    , m_stallTimeout(stallTimeout)
    , m_scripts(job->surroundings().scripts)
    , m_profiles(job->surroundings().profiles)
    , m_access(siteAccess(m_record.page, job->surroundings().secureHosts))
{
}

HttpThread::~HttpThread()
{
    end();
}

void HttpThread::setJob(HttpJob *job)
{
    m_job = job;
}

void HttpThread::end()
{
    // quit() also ends the nested loops of a page fetch; the interruption keeps it from trying
    // again.
    requestInterruption();
    quit();
    wait();
}

void HttpThread::abandon()
{
    setJob(nullptr);
    end();
    // The call may come out of a signal that this object is just delivering.
    deleteLater();
}

void HttpThread::run()
{
    HttpTask task(m_record, m_access, m_outputFolder, m_stallTimeout,
                  [this] { m_record.refreshVideoUrl(m_scripts, m_profiles, m_access); });
    connect(&task, &HttpTask::sigError, this, &QThread::quit);
    connect(&task, &HttpTask::sigFinished, this, &QThread::quit);
    // This object lives on the user-interface thread, hence queued to it.
    connect(&task, &HttpTask::sigFinished, this, [this] {
        if (m_job)
            m_job->onDownloadFinished();
    });
    connect(
        &task, &HttpTask::sigTrouble, this,
        [this](const JobTrouble &trouble) {
            if (m_job)
                m_job->noteTrouble(trouble);
        },
        Qt::QueuedConnection); // said, so that the type is known to the queue
    connect(&task, &HttpTask::sigError, this, [this](qint32 error) {
        if (m_job)
            m_job->onDownloadError(error);
    });
    connect(&task, &HttpTask::sigSourceCreated, this, [this] {
        if (m_job)
            emit m_job->sigSourceCreated();
    });
    // Only an encoder wants to hear of every chunk; without one it would be a wake-up for nothing.
    if (m_record.output_format != 0) {
        connect(&task, &HttpTask::sigReceive, this, [this](qint64 bytesReceived) {
            if (m_job)
                m_job->onDownloadReceive(bytesReceived);
        });
    }

    task.prepareCookies(); // without cookies the request itself reports the error
    task.startRequest();
    TRACE() << "HttpThread(start)";
    exec();
    TRACE() << "HttpThread(stop)";
    task.stopTransfer();
}
