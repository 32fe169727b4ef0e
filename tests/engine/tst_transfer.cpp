#include "enginefixture.h"

#include "cjslib.h"
#include "literals.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "texts.h"

#include <QElapsedTimer>
#include <QSignalSpy>

namespace {

constexpr qint64 size = 300000;
constexpr qint64 half = 150000;

HttpResponse partial(qint64 first, qint64 bytes, const QByteArray &contentRange)
{
    HttpResponse response = HttpResponse::text(pattern(first, bytes), "video/mp4");
    response.status = 206;
    response.honourRange = false;
    if (!contentRange.isEmpty())
        response.headers = {{"Content-Range", contentRange}};
    return response;
}

// Slow enough for the head to be read before the end: the network layer itself asks again for an
// answer of which it saw nothing but the close.
HttpResponse cutStream()
{
    HttpResponse response = EngineFixture::stream(size, 2000000);
    response.cutAfter = half;
    response.headers = {{"Set-Cookie", "edge=9"}}; // nothing that the page gave
    return response;
}

using Change = std::function<void(HttpResponse &)>;

HttpResponse changed(HttpResponse response, const Change &change)
{
    change(response);
    return response;
}

} // namespace

using Answers = QList<HttpResponse>;
Q_DECLARE_METATYPE(Answers)

class TransferTest final : public EngineTest
{
    Q_OBJECT

public:
    using EngineTest::EngineTest;

private slots:
    void init() { m_site.clear(); }

    void answers_data()
    {
        QTest::addColumn<Answers>("answers");
        QTest::addColumn<bool>("succeeds");
        QTest::addColumn<qint64>("lastRange"); // 0: asked for everything
        const auto row = [](const QByteArray &name, const Answers &answers, bool succeeds,
                            qint64 range) {
            QTest::newRow(name.constData()) << answers << succeeds << range;
        };
        const HttpResponse whole = EngineFixture::stream(size);
        const HttpResponse cut = cutStream();
        const auto wholeBut = [&](const Change &change) { return changed(whole, change); };
        const auto type = [&](const QByteArray &contentType) {
            return wholeBut([&](auto &r) { r.contentType = contentType; });
        };
        const HttpResponse closed = wholeBut([](auto &r) { r.closeBeforeHeaders = true; });
        const HttpResponse noRange = wholeBut([](auto &r) { r.honourRange = false; });
        const HttpResponse packed = wholeBut([](auto &r) {
            r.headers = {{"Content-Encoding", "gzip"}};
        });
        const HttpResponse tooLong = wholeBut([](auto &r) {
            r.declaredLength = size + 100;
            r.bytesPerSecond = 3000000;
        });
        const HttpResponse shorter = changed(HttpResponse::error(416), [](auto &r) {
            r.headers = {{"Content-Range", "bytes */20"}};
        });
        const HttpResponse page = HttpResponse::text("<html>log in</html>");
        const HttpResponse wholePage = changed(page, [](auto &r) { r.honourRange = false; });

        row("whole", {whole}, true, 0);
        row("reset", {closed, closed, whole}, true, 0);
        row("206 of everything", {partial(0, size, "bytes 0-299999/300000")}, true, 0);
        row("206 from the middle", {partial(half, half, "bytes 150000-299999/300000"), whole}, true,
            0);
        row("206 of a part", {partial(0, half, "bytes 0-149999/300000"), whole}, true, half);
        row("416", {HttpResponse::error(416), whole}, true, 0);
        row("500", {HttpResponse::error(500, "oops"), whole}, true, 0);
        row("length too large", {tooLong, whole, whole}, true, 0);
        row("packed", {packed, whole}, true, 0);
        row("packed for ever", QVector<HttpResponse>(11, packed).toList(), false, 0);
        row("403", {HttpResponse::error(403)}, false, 0);
        row("404", {HttpResponse::error(404, "gone")}, false, 0);
        row("redirect", {HttpResponse::redirect("/x")}, false, 0);
        row("page", {type("TEXT/HTM")}, false, 0);
        row("no type", {type(QByteArray())}, false, 0);
        row("type leaving the folder", {type("video/../../x")}, false, 0);
        row("no length", {wholeBut([](auto &r) { r.chunked = true; })}, false, 0);

        row("cut, rest", {cut, whole}, true, half);
        row("cut, range ignored", {cut, noRange}, true, half);
        row("cut, 503", {cut, HttpResponse::error(503, "<html>busy</html>"), whole}, true, half);
        row("cut, reset", {cut, closed, closed, whole}, true, half);
        row("cut, packed", {cut, packed, whole}, true, half);
        row("cut, redirect", {cut, HttpResponse::redirect("/elsewhere"), whole}, true, half);
        row("cut, log-in page", {cut, wholePage, whole}, true, half);
        row("cut, page for ever", {cut, page, page}, false, 0);
        row("cut, 403", {cut, HttpResponse::error(403, "no")}, false, half);
        row("cut, 404", {cut, HttpResponse::error(404)}, false, half);
        row("cut, 416", {cut, shorter, whole}, true, 0);
        row("cut, 206 longer than the whole",
            {cut, partial(half, half + 50, "bytes 150000-300049/300000"), whole, whole}, true, 0);
        for (const char *range :
             {"", "bytes 150000/300000", "bytes 100-150099/300000", "bytes 150000-299999/300001"}) {
            row("cut, 206 " + QByteArray(range), {cut, partial(half, half, range), whole}, true, 0);
        }
    }

    void answers()
    {
        QFETCH(Answers, answers);
        QFETCH(bool, succeeds);
        QFETCH(qint64, lastRange);
        m_site.server.setResponses("/stream", answers);
        const auto job = m_site.newJob();
        QSignalSpy ended(job.get(), &HttpJob::sigFinished);
        job->start();
        QVERIFY(ended.wait());
        const auto requests = m_site.server.requests("/stream");
        QCOMPARE(requests.size(), answers.size());
        QCOMPARE(requests.last().header("Range"),
                 lastRange ? "bytes=" + QByteArray::number(lastRange) + '-' : QByteArray());
        QCOMPARE(requests.last().header("Cookie"), QByteArray("id=1; lang=en"));
        QCOMPARE(requests.last().header("Accept-Encoding"), QByteArray("identity"));
        QCOMPARE(job->record.video_state, succeeds ? JobState::Finished : JobState::Errored);
        QCOMPARE(m_site.outputFiles(), succeeds ? QStringList{"Clip.mp4"_q} : QStringList());
        if (succeeds) {
            QVERIFY(isPattern(job->record.output_name, size));
            QCOMPARE(job->record.output_demision, "640x360"_q);
        }
        if (answers.first().headers.value(0).second == "gzip")
            QVERIFY(m_sandbox.logLines().contains("Download:Failed(Content-Encoding gzip)"_q));
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

    void tenShortTransfersFail()
    {
        const auto job = m_site.newJob();
        m_site.server.setHandler("/stream", [](const HttpRequest &request) {
            const QByteArray range = request.header("Range"); // "bytes=N-"
            const qint64 first = range.mid(6, range.size() - 7).toLongLong();
            const QByteArray given =
                QByteArray::number(first) + '-' + QByteArray::number(first + 9);
            return first ? partial(first, 10, "bytes " + given + "/300000") : cutStream();
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
        m_site.server.setResponse("/stream", EngineFixture::stream(size, 400000));
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
};

REELKEEPER_TEST_MAIN(TransferTest)
#include "tst_transfer.moc"
