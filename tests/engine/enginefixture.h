#pragma once

#include "httpjob.h"
#include "httpserver.h"
#include "testmain.h"

#include <QStringList>

// A site of one watch page and one stream, and jobs for it with retries that do not keep a test
// waiting.
class EngineFixture final
{
public:
    explicit EngineFixture(Sandbox &sandbox);

    static JobSurroundings surroundings(); // with quick retries
    // A stream of that many pattern bytes, as a video.
    static HttpResponse stream(qint64 bytes, qint64 bytesPerSecond = 0);
    // A 206 with those of its bytes, whatever was asked for.
    static HttpResponse partial(qint64 first, qint64 bytes, qint64 total);
    static HttpResponse page(); // gives two cookies
    VideoInfo info(const QString &title = QStringLiteral("Clip")) const;
    std::unique_ptr<HttpJob> newJob(const QString &title = QStringLiteral("Clip")) const;
    // A job that has those first bytes of the stream in its source file.
    std::unique_ptr<HttpJob> interruptedJob(qint64 bytesOnDisk, qint64 downloaded,
                                            qint64 total) const;
    QStringList outputFiles() const; // names, sorted
    void clear();                    // output folder, answers and requests as at the start

    HttpServer server;

private:
    Sandbox &m_sandbox;
};

// Those bytes of every generated stream.
QByteArray pattern(qint64 first, qint64 bytes);
// The file is that many pattern bytes, no more, no less, none shifted.
bool isPattern(const QString &path, qint64 bytes);

// A test that works with such a site.
class EngineTest : public SandboxTest
{
public:
    explicit EngineTest(Sandbox &sandbox)
        : SandboxTest(sandbox)
        , m_site(sandbox)
    {
    }

protected:
    EngineFixture m_site;
};
