#include "enginefixture.h"

#include "cjslib.h"
#include "literals.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "testmain.h"
#include "texts.h"

#include <QElapsedTimer>
#include <QSignalSpy>

namespace {

constexpr qint64 size = 300000;
constexpr qint64 half = 150000;

HttpResponse partial(qint64 first, qint64 bytes, qint64 total)
{
    HttpResponse response;
    for (qint64 i = 0; i < bytes; ++i)
        response.body += patternByte(first + i);
    response.status = 206;
    response.honourRange = false;
    response.contentType = "video/mp4";
    response.headers = {{"Content-Range", "bytes " + QByteArray::number(first) + '-' +
                                              QByteArray::number(first + bytes - 1) + '/' +
                                              QByteArray::number(total)}};
    return response;
}

// Slow enough for the head to be read before the end: the network layer itself asks again for an
// answer of which it saw nothing but the close.
HttpResponse cutStream()
{
    HttpResponse response = EngineFixture::stream(size);
    response.cutAfter = half;
    response.bytesPerSecond = 2000000;
    response.headers = {{"Set-Cookie", "edge=9"}}; // nothing that the page gave
    return response;
}

HttpResponse changed(HttpResponse response, const std::function<void(HttpResponse &)> &change)
{
    change(response);
    return response;
}

} // namespace

using Answers = QList<HttpResponse>;
Q_DECLARE_METATYPE(Answers)

class TransferTest : public QObject
{
    Q_OBJECT

public:
    explicit TransferTest(Sandbox &sandbox)
        : m_sandbox(sandbox)
        , m_site(sandbox)
    {
    }

private slots:
    void init() { m_site.clear(); }

    void fresh_data()
    {
        QTest::addColumn<Answers>("answers");
        QTest::addColumn<bool>("succeeds");
        QTest::addColumn<QByteArray>("lastRange");
        const HttpResponse whole = EngineFixture::stream(size);
        const HttpResponse cut = cutStream();
        const HttpResponse noRange = changed(whole, [](HttpResponse &r) { r.honourRange = false; });
        const auto type = [&](const QByteArray &contentType) {
            return changed(whole, [&](HttpResponse &r) { r.contentType = contentType; });
        };

        QTest::newRow("whole") << Answers{whole} << true << QByteArray();
        QTest::newRow("cut, then the rest") << Answers{cut, whole} << true << QByteArray("150000");
        QTest::newRow("cut, then range ignored")
            << Answers{cut, noRange} << true << QByteArray("150000");
        QTest::newRow("cut, error page, then the rest")
            << Answers{cut, HttpResponse::error(503, "<html>busy</html>"), whole} << true
            << QByteArray("150000");
        QTest::newRow("cut, then a range from elsewhere")
            << Answers{cut, partial(100, size - 100, size), whole} << true << QByteArray();
        QTest::newRow("cut, then another file")
            << Answers{cut, partial(half, 10, size + 1), whole} << true << QByteArray();
        QTest::newRow("cut, then the range does not exist")
            << Answers{cut,
                       changed(HttpResponse::error(416),
                               [](HttpResponse &r) {
                                   r.headers = {{"Content-Range", "bytes */20"}};
                               }),
                       whole}
            << true << QByteArray();
        QTest::newRow("cut, then a redirect, then the rest")
            << Answers{cut, HttpResponse::redirect("/elsewhere"), whole} << true
            << QByteArray("150000");
        QTest::newRow("cut, log-in page, then the rest")
            << Answers{cut,
                       changed(
                           HttpResponse::text("<html>log in</html>", "text/html; charset=utf-8"),
                           [](HttpResponse &r) { r.honourRange = false; }),
                       whole}
            << true << QByteArray("150000");
        QTest::newRow("a part that was not asked for, then the rest")
            << Answers{partial(0, half, size), whole} << true << QByteArray("150000");
        QTest::newRow("500, then all")
            << Answers{HttpResponse::error(500, "oops"), whole} << true << QByteArray();
        QTest::newRow("not found")
            << Answers{HttpResponse::error(404, "gone")} << false << QByteArray();
        QTest::newRow("forbidden on resume")
            << Answers{cut, HttpResponse::error(403, "no")} << false << QByteArray("150000");
        QTest::newRow("page") << Answers{type("TEXT/HTM")} << false << QByteArray();
        QTest::newRow("no type") << Answers{type(QByteArray())} << false << QByteArray();
        QTest::newRow("type leaving the folder")
            << Answers{type("video/../../x")} << false << QByteArray();
        QTest::newRow("no length")
            << Answers{changed(whole, [](HttpResponse &r) { r.chunked = true; })} << false
            << QByteArray();
    }

    void fresh()
    {
        QFETCH(Answers, answers);
        QFETCH(bool, succeeds);
        QFETCH(QByteArray, lastRange);
        m_site.server.setResponses("/stream", answers);
        const auto job = m_site.newJob();
        QSignalSpy ended(job.get(), &HttpJob::sigFinished);
        job->start();
        QVERIFY(ended.wait());
        const auto requests = m_site.server.requests("/stream");
        QCOMPARE(requests.size(), answers.size());
        QCOMPARE(requests.last().header("Range"),
                 lastRange.isEmpty() ? QByteArray() : "bytes=" + lastRange + '-');
        QCOMPARE(requests.last().header("Cookie"), QByteArray("id=1; lang=en"));
        QCOMPARE(requests.last().header("Accept-Encoding"), QByteArray("identity"));
        if (succeeds) {
            QCOMPARE(job->record.video_state, JobState::Finished);
            QCOMPARE(m_site.outputFiles(), QStringList{"Clip.mp4"_q});
            QVERIFY(isPattern(job->record.output_name, size));
            QCOMPARE(job->record.output_demision, "640x360"_q);
        } else {
            QCOMPARE(job->record.video_state, JobState::Errored);
            QCOMPARE(m_site.outputFiles(), QStringList());
        }
        QCOMPARE(ended.count(), 1);
    }

    void resumed_data()
    {
        QTest::addColumn<qint64>("onDisk");
        QTest::addColumn<qint64>("stored");
        QTest::addColumn<qint64>("total");
        QTest::addColumn<QByteArray>("range"); // null: nothing was asked
        QTest::newRow("as stored") << 1000LL << 1000LL << size << QByteArray("bytes=1000-");
        QTest::newRow("file shorter") << 700LL << 1000LL << size << QByteArray("bytes=700-");
        QTest::newRow("file longer than the stream")
            << size + 50 << 1000LL << size << QByteArray("bytes=1000-");
        QTest::newRow("complete") << size << size << size << QByteArray();
        QTest::newRow("complete, total unknown")
            << size << size << -1LL << QByteArray("bytes=300000-");
        QTest::newRow("file gone") << -1LL << 1000LL << size << QByteArray("");
        QTest::newRow("complete file gone") << -1LL << size << size << QByteArray("");
    }

    void resumed()
    {
        QFETCH(qint64, onDisk);
        QFETCH(qint64, stored);
        QFETCH(qint64, total);
        QFETCH(QByteArray, range);
        m_site.server.setResponse("/stream", EngineFixture::stream(size));
        const auto job = m_site.interruptedJob(onDisk, stored, total);
        if (onDisk < 0)
            QVERIFY(QFile::remove(job->record.video_mame));
        job->record.video_state = JobState::Stopped;
        job->start();
        QTRY_COMPARE(job->record.video_state, JobState::Finished);
        QVERIFY(isPattern(job->record.output_name, size));
        const auto requests = m_site.server.requests("/stream");
        QCOMPARE(requests.size(), range.isNull() ? 0 : 1);
        if (!range.isNull())
            QCOMPARE(requests.first().header("Range"), range.isEmpty() ? QByteArray() : range);
    }

    void startAfterFailureBeginsAnew()
    {
        const HttpResponse cut = cutStream();
        m_site.server.setResponses("/stream", {cut, HttpResponse::error(404)});
        const auto job = m_site.newJob();
        job->start();
        QTRY_COMPARE(job->record.video_state, JobState::Errored);
        m_site.server.setResponse("/stream", EngineFixture::stream(size));
        QVERIFY(job->canStart());
        job->start();
        QTRY_COMPARE(job->record.video_state, JobState::Finished);
        QVERIFY(isPattern(job->record.output_name, size));
    }

    void tenShortTransfersFail()
    {
        const HttpResponse cut = cutStream();
        m_site.server.setResponse("/stream", cut);
        const auto job = m_site.newJob();
        int answered = 0;
        m_site.server.setHandler("/stream", [&](const HttpRequest &request) {
            if (answered++ == 0)
                return cut;
            const QByteArray range = request.header("Range");
            return partial(range.mid(6, range.size() - 7).toLongLong(), 10, size);
        });
        job->start();
        QTRY_COMPARE(job->record.video_state, JobState::Errored);
        // One cut answer, which is a network error, one short answer, ten restarts.
        QCOMPARE(m_site.server.requests("/stream").size(), 12);
        const QStringList log = m_sandbox.logLines();
        QVERIFY(log.contains("Download:Failed(retry 0 times)"_q));
        QVERIFY(log.contains("Download:Failed(retry 9 times)"_q));
        QVERIFY(log.contains("Download:Failed(ERR_NET_RETRY)"_q));
        QVERIFY(log.contains("Download:Error(1007)"_q));
    }

    void refusedAndWithoutCookiesRetryForEver()
    {
        m_site.server.setResponse("/watch", HttpResponse::text("<html></html>"));
        m_site.server.setResponse("/stream", EngineFixture::stream(size));
        const auto job = m_site.newJob();
        job->start();
        QTRY_VERIFY(m_site.server.requests("/watch").size() >= 15);
        QCOMPARE(m_site.server.requests("/stream").size(), 0);
        QCOMPARE(job->record.video_state, JobState::Start);
        const quint16 port = m_site.server.port();
        m_site.server.close();
        const auto failures = [this] {
            return m_sandbox.logLines().count("Download:Failed(restart 0 times)"_q);
        };
        const int before = failures();
        QTRY_VERIFY(failures() >= before + 5); // several refused attempts
        QVERIFY(m_site.server.listen(port));
        m_site.clear();
        QTRY_COMPARE(job->record.video_state, JobState::Finished);
        QVERIFY(isPattern(job->record.output_name, size));
    }

    void pauseKeepsEveryByteAndSaysNothingMore()
    {
        HttpResponse slow = EngineFixture::stream(size);
        slow.bytesPerSecond = 400000;
        m_site.server.setResponse("/stream", slow);
        const auto job = m_site.newJob();
        QSignalSpy ended(job.get(), &HttpJob::sigFinished);
        job->start();
        for (int i = 1; i <= 3; ++i) {
            QTRY_VERIFY(job->record.download_bytes >= i * 60000);
            job->pause();
            const qint64 bytes = job->record.download_bytes;
            QCOMPARE(job->record.video_state, JobState::Stopped);
            QVERIFY(isPattern(job->record.video_mame, bytes));
            QCoreApplication::processEvents(); // whatever was still on its way
            QCOMPARE(job->record.video_state, JobState::Stopped);
            QCOMPARE(qint64(job->record.download_bytes), bytes);
            job->start();
        }
        QVERIFY(ended.wait());
        QVERIFY(isPattern(job->record.output_name, size));
    }

    // A server that says nothing must not hold the person's click.
    void endingNeverWaitsForTheNetwork_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::newRow("cookies") << QByteArray("/watch");
        QTest::newRow("stream") << QByteArray("/stream");
    }

    void endingNeverWaitsForTheNetwork()
    {
        QFETCH(QByteArray, path);
        HttpResponse silent;
        silent.stallBeforeHeaders = true;
        m_site.server.setResponse("/stream", EngineFixture::stream(size));
        m_site.server.setResponse(path, silent);
        const auto job = m_site.newJob();
        job->start();
        QTRY_COMPARE(m_site.server.requests(path).size(), 1);
        QElapsedTimer click;
        click.start();
        job->pause();
        QVERIFY(click.elapsed() < 2000); // far from any time-out of the network
        m_site.clear();
        m_site.server.setResponse("/stream", EngineFixture::stream(size));
        job->start();
        QTRY_COMPARE(job->record.video_state, JobState::Finished);
    }

    void expiredAddressIsRenewed()
    {
        OutputProfileManager::instance();
        const QByteArray record = "640x360$61$$mp4|" + m_site.server.url("/new"_q).toUtf8();
        QVERIFY(writeFile(m_sandbox.scriptFolder() + "127.0.0.1"_q, "'" + record + "'"));
        CJSLib::instance()->loadScripts();
        m_site.server.setResponse("/new", EngineFixture::stream(size));
        const auto job = m_site.newJob();
        job->record.download_time = dayOfYear() == 1 ? 2 : 1;
        job->start();
        QTRY_COMPARE(job->record.video_state, JobState::Finished);
        QVERIFY(isPattern(job->record.output_name, size));
        QCOMPARE(m_site.server.requests("/stream").size(), 0);
        QCOMPARE(qint32(job->record.download_time), dayOfYear());
        QVERIFY(m_sandbox.logLines().contains("Video URL(new)"_q + m_site.server.url("/new"_q)));
        CJSLib::destroyInstance();
    }

    void finalNames()
    {
        m_site.server.setResponse("/stream", EngineFixture::stream(10));
        const QString japanese = QString(100, QChar(0x3042));
        const QList<QPair<QString, QString>> names = {
            {"clip"_q, "clip.mp4"_q},
            {"clip"_q, "clip_0.mp4"_q},
            {"clip"_q, "clip_1.mp4"_q},
            {"a/b: \"c\"?"_q, "a_b_ _c__.mp4"_q},
            {".."_q, "...mp4"_q},
            {japanese, japanese.left(83) + ".mp4"_q},
            {japanese, japanese.left(83) + "_0.mp4"_q},
        };
        for (const auto &name : names) {
            const auto job = m_site.newJob(name.first);
            job->start();
            QTRY_COMPARE(job->record.video_state, JobState::Finished);
            QCOMPARE(job->record.output_name, m_sandbox.outputFolder() + name.second);
        }
    }

    void outputFolderThatCannotBeWrittenFails()
    {
        Options::instance()->outputFolder = m_sandbox.path("missing/"_q);
        m_site.server.setResponse("/stream", EngineFixture::stream(size));
        const auto job = m_site.newJob();
        job->start();
        QTRY_COMPARE(job->record.video_state, JobState::Errored);
        Options::instance()->outputFolder = m_sandbox.outputFolder();
    }

private:
    Sandbox &m_sandbox;
    EngineFixture m_site;
};

REELKEEPER_TEST_MAIN(TransferTest)
#include "tst_transfer.moc"
