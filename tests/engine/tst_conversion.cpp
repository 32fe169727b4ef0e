#include "downloadermanager.h"
#include "enginefixture.h"
#include "literals.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "samples.h"
#include "webdatabase.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>

Q_DECLARE_METATYPE(Sample)

namespace {

const int convertTime = 20000; // milliseconds that a conversion may take on a busy machine
const qint64 large = 9000000;  // bytes, more than may wait for an encoder

struct Probe
{
    QString size; // empty: no picture
    double seconds = 0;
};

Probe probe(const QString &path)
{
    QProcess ffprobe;
    ffprobe.start("ffprobe"_q,
                  {"-v"_q, "error"_q, "-show_entries"_q, "stream=width,height:format=duration"_q,
                   "-of"_q, "default=noprint_wrappers=1"_q, path});
    ffprobe.waitForFinished(convertTime);
    const QString text = QString::fromUtf8(ffprobe.readAllStandardOutput());
    const auto frame = QRegularExpression("width=(\\d+)\\s+height=(\\d+)"_q).match(text);
    const auto length = QRegularExpression("duration=([0-9.]+)"_q).match(text);
    return {frame.hasMatch() ? frame.captured(1) + "x"_q + frame.captured(2) : QString(),
            length.captured(1).toDouble()};
}

} // namespace

class ConversionTest final : public EngineTest
{
    Q_OBJECT

public:
    using EngineTest::EngineTest;

private slots:
    void initTestCase()
    {
        for (const auto &encoder : {qMakePair("real"_q, QStringLiteral(ENCODER_ADAPTER)),
                                    qMakePair("child"_q, QStringLiteral(ENCODER_CHILD))}) {
            const QString folder = m_sandbox.path(encoder.first + "/encoder"_q);
            QVERIFY(QDir().mkpath(folder));
            QVERIFY(QFile::link(encoder.second, folder + "/ffmpeg.exe"_q));
        }
    }

    void init()
    {
        m_site.clear();
        Options::instance()->deleteTempFile = true;
        useProfile("child"_q, "copy $output"_q);
        watch(m_site.newJob());
        m_logBegin = m_sandbox.logLines().size();
    }

    void converts_data()
    {
        QTest::addColumn<Sample>("sample");
        QTest::addColumn<QString>("dimension");
        QTest::addColumn<QString>("box");
        QTest::addColumn<QString>("frame"); // of the result
        QTest::newRow("FLV, odd size") << Sample::Flv << "321x181"
                                       << "0x0"
                                       << "320x180";
        QTest::newRow("FLV, unknown size") << Sample::Flv << ""
                                           << "700x700"
                                           << "640x360";
        QTest::newRow("index last") << Sample::Mp4IndexLast << "640x360"
                                    << "320x240"
                                    << "320x240";
    }

    void converts()
    {
        QFETCH(Sample, sample);
        QFETCH(QString, dimension);
        QFETCH(QString, box);
        QFETCH(QString, frame);
        HttpResponse video;
        video.file = samplePath(sample);
        video.contentType = sample == Sample::Flv ? "video/x-flv" : "video/mp4";
        m_site.server.setResponse("/stream", video);
        const QString command = "-y -i $input -s $size -vcodec libx264 -preset ultrafast"
                                " -pix_fmt yuv420p -acodec aac $output"_q;
        useProfile("real"_q, command, box);
        m_job->record.video_dimension = dimension;
        m_job->record.duration = 3;
        m_job->start();
        QTRY_COMPARE_WITH_TIMEOUT(m_ends, 1, convertTime);
        QCOMPARE(m_job->record.video_state, JobState::Finished);
        QCOMPARE(m_site.outputFiles(), QStringList{"Clip.mkv"_q});
        const Probe result = probe(m_job->record.output_name);
        QCOMPARE(result.size, frame);
        if (!dimension.isEmpty())
            QCOMPARE(m_job->record.output_demision, frame);
        QVERIFY2(qAbs(result.seconds - 3) < 0.3, qPrintable(QString::number(result.seconds)));
        QVERIFY(m_job->record.convertedSeconds > 2.5F);
        const qint64 bytes = QFileInfo(video.file).size();
        const QString counts = "Content Length:%1,Byte Write(File):%1"_q.arg(bytes);
        QVERIFY(logged({"Download Finished:"_q, counts}));
        QVERIFY(logged({"Convert Finished:"_q, counts + ",Byte Read(Encoder):%1"_q.arg(bytes)}));
        QVERIFY(logged({"Convert:"_q, "Finished and Success."_q}));
        QCOMPARE(logged({"Convert:"_q, "Unknown frame size"_q}), dimension.isEmpty());
    }

    void fails_data()
    {
        QTest::addColumn<QString>("encoder");
        QTest::addColumn<QString>("command");
        QTest::addColumn<int>("error");
        QTest::newRow("not a video") << "real"
                                     << "-y -i $input $output" << 1;
        QTest::newRow("exit 3") << "child"
                                << "touch $output 3" << 1;
        QTest::newRow("no encoder") << "none"
                                    << "-" << 0;
        QTest::newRow("no such format") << "child"
                                        << "" << 1012;
    }

    void fails()
    {
        QFETCH(QString, encoder);
        QFETCH(QString, command);
        QFETCH(int, error);
        m_site.server.setResponse("/stream", slowStream(large));
        useProfile(encoder, command);
        if (command.isEmpty())
            m_job->record.output_format = 7;
        m_job->start();
        QTRY_COMPARE_WITH_TIMEOUT(m_ends, 1, convertTime);
        QCOMPARE(m_job->record.video_state, JobState::Errored);
        QTRY_COMPARE(m_site.server.openConnections(), 0);
        QCOMPARE(m_ends, 1);
        QCOMPARE(m_site.outputFiles(), QStringList());
        QVERIFY(logged({"Convert:"_q, "Error(%1)"_q.arg(error)}));
        // What failed can be tried again, from the beginning.
        m_site.server.setResponse("/stream", EngineFixture::stream(200000));
        useProfile("child"_q, "copy $output"_q);
        m_job->record.output_format = 1;
        m_job->start();
        QTRY_COMPARE(m_ends, 2);
        QVERIFY(isPattern(m_job->record.output_name, 200000));
    }

    void endsEarlyAndWell()
    {
        Options::instance()->deleteTempFile = false;
        m_site.server.setResponse("/stream", slowStream(large));
        useProfile("child"_q, "refuse \"%1\""_q.arg(m_sandbox.path("early"_q)));
        m_job->start();
        QTRY_VERIFY(m_job->record.download_bytes > 100000);
        QVERIFY(writeFile(m_job->record.output_name, "made"));
        QVERIFY(writeFile(m_sandbox.path("early"_q), "x"));
        QTRY_COMPARE(m_ends, 1);
        QCOMPARE(m_job->record.video_state, JobState::Finished);
        QVERIFY(m_job->record.download_bytes < large);
        QTRY_COMPARE(m_site.server.openConnections(), 0);
        QCOMPARE(m_ends, 1);
        QCOMPARE(m_site.outputFiles().size(), 2); // the source was to be kept
        QCOMPARE(readFile(m_sandbox.outputFolder() + "Clip.mkv"_q), QByteArray("made"));
        QVERIFY(logged({"Convert:"_q, "Finished and Success."_q}));
    }

    void refusedInputDoesNotHoldTheJob()
    {
        m_site.server.setResponse("/stream", EngineFixture::stream(large));
        useProfile("child"_q, "refuse \"%1\""_q.arg(m_sandbox.path("end"_q)));
        m_job->start();
        QTRY_VERIFY(logged({"Download Finished:"_q}));
        m_job->pause();
        m_job->start();
        QCOMPARE(m_ends, 0);
        QVERIFY(writeFile(m_sandbox.path("end"_q), "x"));
        QTRY_COMPARE(m_ends, 1);
        QCOMPARE(m_job->record.video_state, JobState::Finished);
    }

    void pausesInTheDrain()
    {
        watch(m_site.interruptedJob(large, large, large));
        m_job->start();
        const qint64 handedOver = m_job->record.encodedBytes;
        QVERIFY(handedOver > 0 && handedOver < large);
        m_job->pause();
        // The child takes what it was given, and gets nothing more.
        QTRY_VERIFY(QFileInfo(m_job->record.output_name).size() > handedOver - 65536);
        QCOMPARE(m_job->record.encodedBytes, handedOver);
        QCOMPARE(m_job->record.video_state, JobState::Stopped);
        m_job->start();
        endsAsCopy(large);
    }

    void pausedAfterTheDrain()
    {
        watch(m_site.interruptedJob(300000, 300000, 300000));
        m_job->start();
        m_job->pause();
        QTRY_COMPARE(m_job->record.video_state, JobState::PauseFinishes);
        QVERIFY(logged({"Convert:"_q, "Finished and Success(Paused)."_q}));
        QCOMPARE(m_ends, 0);
        m_job->start();
        QCOMPARE(m_ends, 1);
        QCOMPARE(m_job->record.video_state, JobState::Finished);
        endsAsCopy(300000);
    }

    void pausesWhileItDownloads_data()
    {
        QTest::addColumn<bool>("allThere");
        QTest::newRow("in the middle") << false;
        // The end of the transfer is on its way and not yet heard of.
        QTest::newRow("at the last byte") << true;
    }

    void pausesWhileItDownloads()
    {
        QFETCH(bool, allThere);
        m_site.server.setResponse("/stream", slowStream(200000));
        m_job->start();
        QTRY_VERIFY(m_job->record.encodedBytes > 0);
        const QDeadlineTimer deadline(5000);
        while (allThere && m_job->record.download_bytes < 200000 && !deadline.hasExpired())
            QThread::msleep(2); // without the event loop
        m_job->pause();
        QCOMPARE(m_job->record.download_bytes == 200000, allThere);
        m_job->start();
        endsAsCopy(200000);
    }

    void blockedEncoder()
    {
        QVERIFY(WebDatabase::instance()->Init());
        m_site.server.setResponse("/stream", EngineFixture::stream(large));
        useProfile("child"_q, "block"_q);
        DownloaderManager manager(EngineFixture::surroundings());
        QSignalSpy ended(&manager, &DownloaderManager::sigFinished);
        const HttpJob *job = manager.addJob(m_site.info());
        QTRY_VERIFY(logged({"Download Finished:"_q}));
        const qint64 handedOver = job->record.encodedBytes;
        QVERIFY(handedOver < large);
        QVERIFY(manager.pauseJob(1) && manager.startJob(1));
        QCOMPARE(job->record.encodedBytes, handedOver);
        QVERIFY(writeFile(job->record.output_name, "part"));
        QVERIFY(manager.removeJob(1, true));
        QCOMPARE(m_site.outputFiles(), QStringList());
        QCOMPARE(ended.count(), 0);
    }

    void shrunkSourceFailsTheJob()
    {
        watch(m_site.interruptedJob(large, large, large));
        m_job->start();
        QVERIFY(QFile::resize(m_job->record.video_mame, 1000));
        QTRY_COMPARE(m_ends, 1);
        QCOMPARE(m_job->record.video_state, JobState::Errored);
        QVERIFY(logged({"Download:"_q, "Error(1000)"_q}));
        QCOMPARE(m_site.outputFiles(), QStringList());
    }

    void vanishedSourceIsFetchedAgain()
    {
        m_site.server.setResponse("/stream", slowStream(200000));
        m_job->start();
        QTRY_VERIFY(m_job->record.encodedBytes > 0);
        m_job->pause();
        QVERIFY(QFile::remove(m_job->record.video_mame));
        m_job->start();
        endsAsCopy(200000);
    }

    void serverThatStartsOver()
    {
        HttpResponse cut = slowStream(400000);
        cut.cutAfter = 200000;
        HttpResponse whole = EngineFixture::stream(400000);
        whole.honourRange = false;
        m_site.server.setResponses("/stream", {cut, whole});
        m_job->start();
        endsAsCopy(400000);
        QCOMPARE(m_site.server.requests("/stream").size(), 2);
    }

    void endOfTheProgramInTheMiddle()
    {
        QVERIFY(WebDatabase::instance()->Init());
        m_site.server.setResponse("/stream", slowStream(200000));
        QString partial;
        {
            DownloaderManager manager(EngineFixture::surroundings());
            const HttpJob *job = manager.addJob(m_site.info());
            QTRY_VERIFY(job->record.encodedBytes > 0);
            partial = job->record.output_name;
            QVERIFY(writeFile(partial, QByteArray(500000, 'x')));
        }
        QVERIFY(WebDatabase::instance()->Init());
        DownloaderManager manager(EngineFixture::surroundings());
        QVERIFY(WebDatabase::instance()->Read(&manager));
        const HttpJob *job = manager.findJob(1);
        QVERIFY(job);
        manager.resumeRunning();
        QCOMPARE(job->record.output_name, partial);
        QTRY_COMPARE(job->record.video_state, JobState::Finished);
        QVERIFY(isPattern(job->record.output_name, 200000));
        QCOMPARE(m_site.outputFiles(), QStringList{"Clip.mkv"_q});
    }

private:
    void watch(std::unique_ptr<HttpJob> job)
    {
        m_job = std::move(job);
        m_ends = 0;
        connect(m_job.get(), &HttpJob::sigFinished, this, [this] { ++m_ends; });
    }

    void endsAsCopy(qint64 bytes)
    {
        QTRY_COMPARE(m_ends, 1);
        QVERIFY(isPattern(m_job->record.output_name, bytes));
        QCOMPARE(m_site.outputFiles(), QStringList{"Clip.mkv"_q});
    }

    // One format, number 1, done by the encoder of that folder.
    void useProfile(const QString &encoder, const QString &command, const QString &box = "0x0"_q)
    {
        const QString path = m_sandbox.path("Profiles.xml"_q);
        const QString xml =
            "<profiles><save_as><group des=\"All\"><format id=\"1\" display=\"MKV\" ext=\"mkv\" "
            "fixed_size=\"0\" size=\"%1\" value=\"%2\"/></group></save_as></profiles>"_q;
        QVERIFY(writeFile(path, xml.arg(box, command.toHtmlEscaped()).toUtf8()));
        OutputProfileManager::instance()->setProgramFolder(m_sandbox.path(encoder));
        Options::instance()->outputFormat = 1;
        QVERIFY(OutputProfileManager::instance()->load(path));
    }

    static HttpResponse slowStream(qint64 bytes) { return EngineFixture::stream(bytes, 400000); }

    // A line since the test began holds all of these texts.
    bool logged(const QStringList &texts) const
    {
        const QStringList lines = m_sandbox.logLines().mid(m_logBegin);
        return std::any_of(lines.cbegin(), lines.cend(), [&](const QString &line) {
            return std::all_of(texts.cbegin(), texts.cend(),
                               [&](const QString &text) { return line.contains(text); });
        });
    }

    std::unique_ptr<HttpJob> m_job;
    int m_ends = 0;
    int m_logBegin = 0;
};

REELKEEPER_TEST_MAIN(ConversionTest)
#include "tst_conversion.moc"
