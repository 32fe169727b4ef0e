#pragma once

#include "jobtrouble.h"
#include "siteaccess.h"
#include "sourcefile.h"
#include "streamanswer.h"

#include <QNetworkReply>
#include <QObject>
#include <QString>

#include <functional>

class JobRecord;
class NetworkAccess;

// Moves the bytes of one job's stream into its source file. Everything runs on the transfer thread
// that built the task. An attempt says its end once, by sigFinished or sigError.
class HttpTask final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(HttpTask)

public:
    // record: not owned, outlives the task. access: of its page. outputFolder ends with a
    // separator. stallTimeout: milliseconds without a byte. renewAddress is called for an address
    // of another day.
    HttpTask(JobRecord &record, const SiteAccess &access, const QString &outputFolder,
             int stallTimeout, std::function<void()> renewAddress);

    bool prepareCookies(); // true when the job's page gave any
    void startRequest();
    int openSource(); // for resuming: 0 or FileError
    // Afresh: 0, FileError, HtmlInsteadOfVideo or NoContentType.
    // total: bytes of the stream, for which room is asked; -1 when unknown.
    int createSource(const QString &contentType, qint64 total = -1);
    void reportFileError(QFile::FileError error);
    void stopTransfer(); // aborts the reply; nothing is said after it

    static constexpr qint64 ReadBufferSize = 512 * 1024; // bytes the network layer may hold

signals:
    void sigFinished();
    void sigError(qint32 err);
    void sigTrouble(const JobTrouble &trouble); // before sigError: more about it
    void sigSourceCreated();                    // the source file has its name
    void sigReceive(qint64 bytesReceived);      // bytes just written to the file

public slots:
    void onReadyRead();
    void onFinished();
    void onNetworkError(QNetworkReply::NetworkError code);

private:
    enum class Body {
        Undecided, // no answer seen yet
        Stored,
        Ignored, // read and thrown away
    };

    bool prepareResume();                         // false: the attempt has ended
    void ask(const QUrl &address, int redirects); // that led to the address
    bool followRedirect(); // true: the answer was one; another request is under way, or the end
    void endWithSourceError();
    void judgeAnswer(); // by its head; decides about the body, ends the attempt or asks again
    void beginSource(const AnswerHead &head, qint64 total);
    void storeAvailable();
    void endRefused(qint32 error, const QString &reason); // with the reason in the log
    void endWell();
    void endWith(qint32 error);

    JobRecord &m_record;
    const SiteAccess m_access;
    QString m_outputFolder;
    int m_stallTimeout;
    std::function<void()> m_renewAddress;
    SourceFile m_source;
    QNetworkReply *m_reply = nullptr; // released with deleteLater
    NetworkAccess *m_manager;         // child
    bool m_pageAnswers = false;       // else the one renewal of a day would be lost on it
    int m_redirects = 0;              // that led to the reply
    QString m_untrusted;              // why the certificate of the server in question is not
    qint64 m_bytesReceived = 0;
    qint64 m_resumeFrom = 0; // offset asked for; 0: the whole stream
    Body m_body = Body::Undecided;
    bool m_ended = false;
};
