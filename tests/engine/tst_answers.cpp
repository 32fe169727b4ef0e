#include "enginefixture.h"

#include "downloadermanager.h"
#include "downloaderror.h"
#include "literals.h"
#include "streamanswer.h"
#include "surroundings.h"
#include "webdatabase.h"

#include <QSignalSpy>

namespace {

constexpr qint64 size = 300000;
constexpr qint64 half = 150000;

// Slow enough for the head to be read before the end: the network layer itself asks again for an
// answer of which it saw nothing but the close.
HttpResponse cutStream()
{
    HttpResponse response = EngineFixture::stream(size, 2000000);
    response.cutAfter = half;
    response.headers = {{"Set-Cookie", "edge=9"}, {"ETag", "\"e\""}}; // no cookie of the page's
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

class AnswersTest final : public EngineTest
{
    Q_OBJECT

public:
    using EngineTest::EngineTest;

private slots:
    void init() { m_site.clear(); }

    void answersAreJudgedByTheirHeads()
    {
        const StreamQuestion fresh;
        const StreamQuestion again{0, 20, 30}; // the whole once more, with 20 bytes here
        const StreamQuestion rest{20, 20, 30};
        const StreamQuestion restOfUnknown{20, 20, -1};
        const StreamQuestion tagged{20, 20, 30, "\"a\""};
        const StreamQuestion dated{20, 20, 30, "Mon"};
        const auto part = [](const char *etag, const char *lastModified) {
            return AnswerHead{206, "video/mp4"_q, 10, {20, 30}, {}, etag, lastModified};
        };
        const auto head = [](int status, const char *type, qint64 length, const char *range = "",
                             const char *encoding = "") {
            return AnswerHead{status, QString::fromLatin1(type), length, parseContentRange(range),
                              encoding};
        };
        const int notNow = QNetworkReply::UnknownContentError;
        using A = StreamAnswer;
        const struct
        {
            int line;
            StreamQuestion question;
            AnswerHead head;
            StreamAnswer answer;
        } rows[] = {
            {__LINE__, fresh, head(200, "video/mp4", 30), {A::Begin, 30}},
            {__LINE__, fresh, head(200, "video/mp4", 30, "", "identity"), {A::Begin, 30}},
            {__LINE__, fresh, head(200, "video/mp4", 30, "", "gzip"), {A::Short}},
            {__LINE__, fresh, head(200, "video/mp4", -1), {A::Fail, -1, NoContentLength}},
            {__LINE__, fresh, head(200, "", 30), {A::Fail, -1, NoContentType}},
            {__LINE__, fresh, head(200, "video/../../x", 30), {A::Fail, -1, NoContentType}},
            {__LINE__, fresh, head(200, "TEXT/HTM", 30), {A::Fail, -1, HtmlInsteadOfVideo}},
            {__LINE__, fresh, head(302, "text/html", 30), {A::Fail, -1, HtmlInsteadOfVideo}},
            {__LINE__, fresh, head(206, "video/mp4", 10, "bytes 0-9/30"), {A::Begin, 30}},
            {__LINE__, fresh, head(206, "video/mp4", 10, "bytes 9-18/30"), {A::Ignore}},
            {__LINE__, fresh, head(416, "text/html", 30, "bytes */30"), {A::Ignore}},

            {__LINE__, again, head(200, "video/mp4", 50), {A::Begin, 50}},
            {__LINE__, again, head(200, "video/mp4", 0), {A::Fail, -1, notNow}},

            {__LINE__, rest, head(206, "video/mp4", 10, "bytes 20-29/30"), {A::Append, 30}},
            {__LINE__, rest, head(206, "video/mp4", 10, "bytes 20-29/*"), {A::Append, 30}},
            {__LINE__, restOfUnknown, head(206, "", 10, "bytes 20-29/30"), {A::Append, 30}},
            {__LINE__, rest, head(206, "video/mp4", 10, "Bytes 20 - 29 / 31"), {A::StartOver}},
            {__LINE__, rest, head(206, "video/mp4", 10, "bytes 19-28/30"), {A::StartOver}},
            {__LINE__, rest, head(206, "video/mp4", 10), {A::StartOver}},
            {__LINE__, rest, head(206, "video/mp4", 10, "bytes 20/30"), {A::StartOver}},
            {__LINE__, rest, head(206, "text/html", 10, "bytes 20-29/30"), {A::Fail, -1, notNow}},
            {__LINE__, again, head(206, "video/mp4", 10, "bytes 9-18/30"), {A::Fail, -1, notNow}},
            {__LINE__, rest, head(302, "text/html", 10), {A::Fail, -1, notNow}},
            {__LINE__, rest, head(200, "video/mp4", 30, "", "gzip"), {A::Fail, -1, notNow}},
            {__LINE__, rest, head(403, "video/mp4", 30), {A::Ignore}},
            {__LINE__, rest, head(200, "video/mp4", 31), {A::Begin, 31}},
            {__LINE__, rest, head(200, "video/mp4", -1), {A::Fail, -1, notNow}},
            {__LINE__, rest, head(200, "", 30), {A::Fail, -1, notNow}},
            {__LINE__, rest, head(200, "text/html; charset=x", 30), {A::Fail, -1, notNow}},
            {__LINE__, {30, 30, -1}, head(416, "", 0, "bytes */30"), {A::Complete, 30}},
            {__LINE__, rest, head(416, "", 0, "bytes */20"), {A::StartOver}},
            {__LINE__, tagged, part("\"a\"", "Tue"), {A::Append, 30}},
            {__LINE__, tagged, part("W/\"b\"", "Tue"), {A::Append, 30}},
            {__LINE__, tagged, part("\"b\"", "Mon"), {A::StartOver}},
            {__LINE__, dated, part("\"b\"", "Mon"), {A::Append, 30}},
            {__LINE__, dated, part("", ""), {A::Append, 30}},
            {__LINE__, dated, part("\"b\"", "Tue"), {A::StartOver}},
            {__LINE__, restOfUnknown, head(416, "", 0, "bytes */30"), {A::StartOver}},
        };
        for (const auto &row : rows) {
            const StreamAnswer answer = StreamAnswer::to(row.question, row.head);
            QVERIFY2(answer.kind == row.answer.kind && answer.total == row.answer.total &&
                         answer.code == row.answer.code,
                     qPrintable("line %1"_q.arg(row.line)));
        }
        QCOMPARE(part("\"a\"", "Mon").validator(), QByteArray("\"a\""));
        for (const char *unfit : {"", "W/\"a\"", "a", "\"a", "\"a\", \"b\"", "\"\xe4\""})
            QCOMPARE(part(unfit, "Mon").validator(), QByteArray("Mon"));
        QCOMPARE(part("", "Mo\tn").validator(), QByteArray());
    }

    void answers_data()
    {
        QTest::addColumn<Answers>("answers");
        QTest::addColumn<int>("error");        // 0: the job finishes
        QTest::addColumn<qint64>("lastRange"); // 0: asked for everything
        const auto row = [](const char *name, const Answers &answers, int error, qint64 range) {
            QTest::newRow(name) << answers << error << range;
        };
        const HttpResponse whole = EngineFixture::stream(size);
        const HttpResponse cut = cutStream();
        const auto wholeBut = [&](const Change &change) { return changed(whole, change); };
        const HttpResponse closed = wholeBut([](auto &r) { r.closeBeforeHeaders = true; });
        const HttpResponse noRange = wholeBut([](auto &r) { r.honourRange = false; });
        const HttpResponse noLength = changed(noRange, [](auto &r) { r.chunked = true; });
        const HttpResponse packed = wholeBut([](auto &r) {
            r.headers = {{"Content-Encoding", "gzip"}};
        });
        const HttpResponse tooLong = wholeBut([](auto &r) {
            r.declaredLength = size + 100;
            r.bytesPerSecond = 3000000;
        });
        const HttpResponse page = HttpResponse::text("<html>log in</html>");
        const HttpResponse elsewhere = wholeBut([](auto &r) {
            r.status = 302;
            r.generatedBytes = 0;
            r.honourRange = false;
        });
        Answers elevenTimes; // more than short transfers may come
        for (int i = 0; i < 11; ++i)
            elevenTimes += elsewhere;

        row("whole", {whole}, 0, 0);
        row("reset", {closed, closed, whole}, 0, 0);
        row("part from the middle", {EngineFixture::partial(half, half, size), whole}, 0, 0);
        row("500", {HttpResponse::error(500, "oops"), whole}, 0, 0);
        row("length too large", {tooLong, whole, whole}, 0, 0);
        row("packed", {packed, whole}, 0, 0);
        row("401", {HttpResponse::error(401)}, 204, 0);
        row("403", {HttpResponse::error(403)}, 201, 0);
        row("page", {page}, HtmlInsteadOfVideo, 0);
        row("no length", {noLength}, NoContentLength, 0);

        row("cut, rest", {cut, whole}, 0, half);
        row("cut, range ignored", {cut, noRange}, 0, half);
        row("cut, 503", {cut, HttpResponse::error(503, "<html>busy</html>"), whole}, 0, half);
        row("cut, shorter, page", {cut, page, page, whole}, 0, half);
        row("cut, sent elsewhere", Answers{cut} + elevenTimes + Answers{whole}, 0, half);
        row("cut, 404", {cut, HttpResponse::error(404, "gone")}, 203, half);
    }

    void answers()
    {
        QFETCH(Answers, answers);
        QFETCH(int, error);
        QFETCH(qint64, lastRange);
        m_site.server.setResponses("/stream", answers);
        const auto job = m_site.newJob();
        job->record.video_usser_agent = "Agent/1"_q;
        QSignalSpy ended(job.get(), &HttpJob::sigFinished);
        job->start();
        QVERIFY(ended.wait());
        QCOMPARE(m_site.server.requests("/watch").first().target,
                 QByteArray("/watch?v=1&hl=en_US&persist_hl=0"));
        const auto requests = m_site.server.requests("/stream");
        QCOMPARE(requests.size(), answers.size());
        QCOMPARE(requests.last().header("Range"),
                 lastRange ? "bytes=" + QByteArray::number(lastRange) + '-' : QByteArray());
        QCOMPARE(requests.last().header("If-Range"), lastRange ? "\"e\"" : QByteArray());
        QCOMPARE(requests.last().header("Cookie"), QByteArray("id=1; lang=en"));
        QCOMPARE(requests.last().header("Accept-Encoding"), QByteArray("identity"));
        QCOMPARE(requests.last().header("User-Agent"), QByteArray("Agent/1"));
        QCOMPARE(job->record.video_state, error ? JobState::Errored : JobState::Finished);
        QCOMPARE(m_site.outputFiles(), error ? QStringList() : QStringList{"Clip.mp4"_q});
        const QStringList log = m_sandbox.logLines();
        if (error) {
            QVERIFY(log.contains("Download:Error(%1)"_q.arg(error)));
        } else {
            QVERIFY(isPattern(job->record.output_name, size));
            QCOMPARE(job->record.output_demision, "640x360"_q);
        }
        if (answers.first().headers.value(0).second == "gzip")
            QVERIFY(log.contains("Download:Failed(Content-Encoding gzip)"_q));
        QCOMPARE(ended.count(), 1);
    }

    void replacedFileBeginsAgain_data()
    {
        QTest::addColumn<QByteArrayList>("before"); // ETag and Last-Modified
        QTest::addColumn<QByteArrayList>("after");
        QTest::addColumn<QByteArray>("sent"); // as If-Range
        QTest::addColumn<bool>("replaced");
        const QByteArray date = "Mon, 23 Nov 2026 10:00:00 GMT";
        const QByteArray later = "Mon, 23 Nov 2026 11:00:00 GMT";
        QTest::newRow("same") << QByteArrayList{"\"a'\"", date} << QByteArrayList{"\"a'\"", later}
                              << QByteArray("\"a'\"") << false;
        QTest::newRow("tag") << QByteArrayList{"\"a\"", date} << QByteArrayList{"\"b\"", date}
                             << QByteArray("\"a\"") << true;
        QTest::newRow("date") << QByteArrayList{"W/\"a\"", date} << QByteArrayList{"W/\"a\"", later}
                              << date << true;
        QTest::newRow("weak") << QByteArrayList{"W/\"a\"", {}} << QByteArrayList{"W/\"b\"", {}}
                              << QByteArray() << false;
    }

    // By one of the same length, while the program does not run.
    void replacedFileBeginsAgain()
    {
        QFETCH(QByteArrayList, before);
        QFETCH(QByteArrayList, after);
        QFETCH(QByteArray, sent);
        QFETCH(bool, replaced);
        HttpResponse stream = EngineFixture::stream(size, 400000);
        stream.headers = {{"ETag", before.at(0)}, {"Last-Modified", before.at(1)}};
        m_site.server.setResponse("/stream", stream);
        const QString folder = m_sandbox.path("list/"_q);
        QDir(folder).removeRecursively();
        {
            WebDatabase database(folder);
            DownloaderManager manager(EngineFixture::surroundings());
            QVERIFY(database.Init());
            manager.addJob(m_site.info());
            QTRY_VERIFY(manager.jobs().front()->record.download_bytes > 50000);
            manager.stopAll();
            QVERIFY(database.Save(manager.records()));
        }
        HttpResponse next = replaced ? HttpResponse::text(pattern(1, size), "video/mp4")
                                     : EngineFixture::stream(size);
        next.headers = {{"ETag", after.at(0)}, {"Last-Modified", after.at(1)}};
        m_site.server.setHandler("/stream", [=](const HttpRequest &request) {
            const QByteArray condition = request.header("If-Range");
            return changed(next, [&](auto &r) {
                r.honourRange = condition.isNull() || after.contains(condition);
            });
        });
        WebDatabase database(folder);
        DownloaderManager manager(EngineFixture::surroundings());
        QVERIFY(database.Init() && readJobs(database, manager));
        manager.resumeRunning();
        const JobRecord &record = manager.jobs().front()->record;
        QTRY_COMPARE(record.video_state, JobState::Finished);
        const auto requests = m_site.server.requests("/stream");
        QCOMPARE(requests.size(), 2);
        QVERIFY(requests.last().header("Range").startsWith("bytes="));
        QCOMPARE(requests.last().header("If-Range"), sent);
        QCOMPARE(readFile(record.output_name), pattern(replaced ? 1 : 0, size));
        QCOMPARE(record.validator.text().isEmpty(), sent.isEmpty());
        QVERIFY(sent.isEmpty() || after.contains(record.validator.text().toLatin1()));
    }

    void tenShortTransfersFail()
    {
        const auto job = m_site.newJob();
        m_site.server.setHandler("/stream", [](const HttpRequest &request) {
            const QByteArray range = request.header("Range"); // "bytes=N-"
            const qint64 first = range.mid(6, range.size() - 7).toLongLong();
            return first ? EngineFixture::partial(first, 10, size) : cutStream();
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
        QCOMPARE(job->trouble().code, qint32(TooManyShortTransfers));
    }
};

REELKEEPER_TEST_MAIN(AnswersTest)
#include "tst_answers.moc"
