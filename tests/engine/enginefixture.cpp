#include "enginefixture.h"

#include "literals.h"
#include "options.h"
#include "surroundings.h"

#include <QDir>

EngineFixture::EngineFixture(Sandbox &sandbox)
    : m_sandbox(sandbox)
{
    sandbox.loadOptions(true);
    server.listen();
    clear();
}

JobSurroundings EngineFixture::surroundings()
{
    return testSurroundings({30, 5});
}

HttpResponse EngineFixture::stream(qint64 bytes, qint64 bytesPerSecond)
{
    HttpResponse response;
    response.generatedBytes = bytes;
    response.bytesPerSecond = bytesPerSecond;
    response.contentType = "video/mp4";
    return response;
}

HttpResponse EngineFixture::partial(qint64 first, qint64 bytes, qint64 total)
{
    HttpResponse response = HttpResponse::text(pattern(first, bytes), "video/mp4");
    response.status = 206;
    response.honourRange = false;
    response.headers = {{"Content-Range", "bytes " + QByteArray::number(first) + '-' +
                                              QByteArray::number(first + bytes - 1) + '/' +
                                              QByteArray::number(total)}};
    return response;
}

HttpResponse EngineFixture::page()
{
    HttpResponse response = HttpResponse::text("<html></html>");
    response.headers = {{"Set-Cookie", "id=1; path=/"}, {"Set-Cookie", "lang=en"}};
    return response;
}

VideoInfo EngineFixture::info(const QString &title) const
{
    VideoInfo info;
    info.pageUrl = server.url("/watch?v=1"_q);
    info.title = title;
    info.streams = {{"640x360"_q, "61"_q, QString(), "mp4"_q, server.url("/stream"_q)}};
    return info;
}

std::unique_ptr<HttpJob> EngineFixture::newJob(const QString &title) const
{
    auto job = std::make_unique<HttpJob>(surroundings());
    job->init(info(title), 1);
    return job;
}

std::unique_ptr<HttpJob> EngineFixture::interruptedJob(qint64 bytesOnDisk, qint64 downloaded,
                                                       qint64 total) const
{
    auto job = newJob();
    const QString path = Options::instance()->outputFolder + job->record.guid + ".mp4"_q;
    writeFile(path, pattern(0, bytesOnDisk));
    job->record.video_mame = path;
    job->record.download_bytes = downloaded;
    job->record.total_bytes = total;
    return job;
}

QStringList EngineFixture::outputFiles() const
{
    return QDir(m_sandbox.outputFolder()).entryList(QDir::Files | QDir::Hidden, QDir::Name);
}

void EngineFixture::clear()
{
    QDir folder(m_sandbox.outputFolder());
    for (const QString &name : outputFiles())
        folder.remove(name);
    server.setResponse("/watch", page());
    server.clearRequests();
}

QByteArray pattern(qint64 first, qint64 bytes)
{
    QByteArray result;
    for (qint64 i = first; i < first + bytes; ++i)
        result += patternByte(i);
    return result;
}

bool isPattern(const QString &path, qint64 bytes)
{
    return readFile(path) == pattern(0, bytes);
}
