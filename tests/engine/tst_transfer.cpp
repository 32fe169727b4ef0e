#include "enginefixture.h"

#include "cjslib.h"
#include "downloadermanager.h"
#include "downloaderror.h"
#include "httpthread.h"
#include "literals.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "sourcefile.h"
#include "streamanswer.h"
#include "surroundings.h"
#include "texts.h"
#include "webdatabase.h"

#include <QElapsedTimer>
#include <QSignalSpy>

#include <sys/stat.h>

namespace {

constexpr qint64 size = 300000;
constexpr qint64 half = 150000;

HttpResponse partial(qint64 first, qint64 bytes, qint64 total = size)
{
    HttpResponse response = HttpResponse::text(pattern(first, bytes), "video/mp4");
    response.status = 206;
    response.honourRange = false;
    response.headers = {{"Content-Range", "bytes " + QByteArray::number(first) + '-' +
                                              QByteArray::number(first + bytes - 1) + '/' +
                                              QByteArray::number(total)}};
    return response;
}

// Slow enough for the head to be read before the end: the network layer itself asks again for an
// answer of which it saw nothing but the close.
HttpResponse cutStream()
{
    HttpResponse response = EngineFixture::stream(size, 2000000);
    response.cutAfter = half;
    response.headers = {{"Set-Cookie", "edge=9"}, {"ETag", "\"e\""}}; // no cookie of the page's
    return response;
}

// Pauses the job when something of its attempt has been said, but not yet been heard.
class PauseBeforeHearing final : public QObject
{
public:
    bool eventFilter(QObject *attempt, QEvent *event) override
    {
        auto *job = static_cast<HttpJob *>(attempt->parent());
        if (event->type() == QEvent::MetaCall && job->isRunning())
            job->pause();
        return false;
    }
};

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
        row("part from the middle", {partial(half, half), whole}, 0, 0);
        row("500", {HttpResponse::error(500, "oops"), whole}, 0, 0);
        row("length too large", {tooLong, whole, whole}, 0, 0);
        row("packed", {packed, whole}, 0, 0);
        row("401", {HttpResponse::error(401)}, 204, 0);
        row("403", {HttpResponse::error(403)}, 201, 0);
        row("page", {page}, HtmlInsteadOfVideo, 0);
        row("no length", {noLength}, NoContentLength, 0);

        row("cut, rest", {cut, whole}, 0, half);
        row("cut, range ignored", {cut, noRange}, 0, half);
        row("cut, no length", {cut, noLength, whole}, 0, half);
        row("cut, 503", {cut, HttpResponse::error(503, "<html>busy</html>"), whole}, 0, half);
        row("cut, reset", {cut, closed, closed, whole}, 0, half);
        row("cut, shorter, page", {cut, page, page, whole}, 0, half);
        row("cut, sent elsewhere", Answers{cut} + elevenTimes + Answers{whole}, 0, half);
        row("cut, 404", {cut, HttpResponse::error(404, "gone")}, 203, half);
        row("cut, rest from elsewhere", {cut, partial(half + 1, half - 1), whole}, 0, 0);
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

    void fileErrorsHaveTheirCodes()
    {
        SourceFile file;
        QVERIFY(file.prepare("/dev/full"_q, -1));
        QVERIFY(!file.append("bytes"));
        QCOMPARE(SourceFile::downloadError(file.error()), qint32(FileWriteError));
        QVERIFY(!file.prepare(m_sandbox.path("missing/x"_q), -1));
        QCOMPARE(SourceFile::downloadError(file.error()), qint32(FileOpenError));
    }

    void roomIsAskedForAndGivenBack()
    {
        const QString path = m_sandbox.outputFolder() + "room"_q;
        const auto room = [&] { // bytes that the file takes on the disk
            struct stat status = {};
            return ::stat(QFile::encodeName(path).constData(), &status) == 0
                       ? status.st_blocks * 512LL
                       : -1;
        };
        {
            SourceFile file;
            QVERIFY(file.prepare(path, 5000000) && file.empty() && file.append("bytes"));
            QVERIFY(room() >= 5000000);
        }
        QVERIFY(room() < 1000000);
        QCOMPARE(readFile(path), QByteArray("bytes"));
    }

    // More than any disk can hold.
    void refusedRoomLeavesWhatIsHere()
    {
        constexpr qint64 huge = 1LL << 60;
        HttpResponse whole = EngineFixture::stream(size);
        whole.honourRange = false;
        whole.declaredLength = huge;
        for (const HttpResponse &answer : {partial(half, half, huge), whole}) {
            m_site.server.setResponses("/stream", {answer, EngineFixture::stream(size)});
            const auto job = m_site.interruptedJob(half, half, -1);
            job->start();
            QTRY_COMPARE(job->record.video_state, JobState::Errored);
            const QStringList log = m_sandbox.logLines();
            QCOMPARE(log.last(), "Download:Error(1003)"_q);
            QVERIFY(log.at(log.size() - 2).startsWith("Download:Failed("_q));
            QVERIFY(isPattern(job->record.video_mame, half));
            job->start();
            QTRY_COMPARE(job->record.video_state, JobState::Finished);
            QVERIFY(isPattern(job->record.output_name, size));
            QCOMPARE(m_site.server.requests("/stream").last().header("Range"),
                     QByteArray("bytes=150000-"));
        }
        m_site.clear();
        m_site.server.setResponse("/stream", whole);
        const auto job = m_site.newJob();
        job->start();
        QTRY_COMPARE(job->record.video_state, JobState::Errored);
        QCOMPARE(m_site.outputFiles(), QStringList());
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
        QTest::newRow("file emptied") << 0LL << 1000LL << size << QByteArray("");
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
        // An encoder that was fed from what is gone begins again.
        if (onDisk < stored && range.isEmpty() && stored < total)
            QCOMPARE(job->record.sourceGeneration, 1);
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
            return first ? partial(first, 10) : cutStream();
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

    void endOfAnAbandonedAttemptIsNotHeard()
    {
        m_site.server.setResponse("/stream", HttpResponse::error(404));
        const auto job = m_site.interruptedJob(half, half, size);
        PauseBeforeHearing pause;
        job->start();
        job->findChild<HttpThread *>()->installEventFilter(&pause);
        QTRY_COMPARE(job->record.video_state, JobState::Stopped);
        QCoreApplication::processEvents();
        QCOMPARE(job->record.video_state, JobState::Stopped);
        QVERIFY(isPattern(job->record.video_mame, half));
    }

    // A server that says nothing must not hold the person's click.
    void endingNeverWaitsForTheNetwork()
    {
        HttpResponse silent;
        silent.stallBeforeHeaders = true;
        for (const char *path : {"/watch", "/stream"}) {
            m_site.clear();
            m_site.server.setResponse("/stream", EngineFixture::stream(size));
            m_site.server.setResponse(path, silent);
            const auto job = m_site.newJob();
            job->start();
            QTRY_COMPARE(m_site.server.requests(path).size(), 1);
            QElapsedTimer click;
            click.start();
            job->pause();
            QVERIFY(click.elapsed() < 2000); // far from any time-out of the network
        }
    }

    void expiredAddressIsRenewed()
    {
        OutputProfileManager::instance();
        const QByteArray record = "640x360$61$$mp4|" + m_site.server.url("/new"_q).toUtf8();
        QVERIFY(writeFile(m_sandbox.scriptFolder() + "127.0.0.1"_q, "'" + record + "'"));
        CJSLib::instance()->loadScripts(m_sandbox.scriptFolder());
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
            {"..a"_q, "__a.mp4"_q},
            {" "_q, "video.mp4"_q},
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
};

REELKEEPER_TEST_MAIN(TransferTest)
#include "tst_transfer.moc"
