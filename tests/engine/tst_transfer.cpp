#include "enginefixture.h"

#include "cjslib.h"
#include "downloaderror.h"
#include "httpthread.h"
#include "literals.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "sourcefile.h"
#include "texts.h"

#include <QElapsedTimer>
#include <QNetworkReply>
#include <QSignalSpy>

#include <sys/stat.h>

namespace {

constexpr qint64 size = 300000;
constexpr qint64 half = 150000;

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

} // namespace

class TransferTest final : public EngineTest
{
    Q_OBJECT

public:
    using EngineTest::EngineTest;

private slots:
    void init() { m_site.clear(); }

    void fileErrorsHaveTheirCodes()
    {
        SourceFile file;
        QVERIFY(file.prepare("/dev/full"_q, -1));
        QVERIFY(!file.append("bytes"));
        QCOMPARE(SourceFile::downloadError(file.error()), qint32(FileWriteError));
        QCOMPARE(file.trouble().code, qint32(JobTrouble::DiskFull));
        QVERIFY(!file.prepare(m_sandbox.path("missing/x"_q), -1));
        QCOMPARE(SourceFile::downloadError(file.error()), qint32(FileOpenError));
        QCOMPARE(file.trouble().code, qint32(FileOpenError));
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
        for (const HttpResponse &answer : {EngineFixture::partial(half, half, huge), whole}) {
            m_site.server.setResponses("/stream", {answer, EngineFixture::stream(size)});
            const auto job = m_site.interruptedJob(half, half, -1);
            job->start();
            QTRY_COMPARE(job->record.video_state, JobState::Errored);
            const QStringList log = m_sandbox.logLines();
            QCOMPARE(log.last(), "Download:Error(1003)"_q);
            QVERIFY(log.at(log.size() - 2).startsWith("Download:Failed("_q));
            QVERIFY(job->trouble().code == JobTrouble::DiskFull ||
                    !job->trouble().detail.isEmpty());
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
        QTRY_COMPARE(job->trouble().code, qint32(QNetworkReply::ConnectionRefusedError));
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
