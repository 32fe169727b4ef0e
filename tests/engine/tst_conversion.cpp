#include "enginefixture.h"
#include "literals.h"
#include "mediafile.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "samples.h"

#include <QDeadlineTimer>

Q_DECLARE_METATYPE(Sample)

static const int convertTime = 20000; // milliseconds that a conversion may take on a busy machine
static const qint64 large = 9000000;  // bytes, more than may wait for an encoder

class ConversionTest final : public EngineTest
{
    Q_OBJECT

public:
    using EngineTest::EngineTest;

private slots:
    void initTestCase()
    {
        for (const auto &encoder : {qMakePair("real"_q, QStringLiteral(ADAPTER)),
                                    qMakePair("child"_q, QStringLiteral(ENCODER_CHILD))}) {
            const QString folder = m_sandbox.path(encoder.first + "/encoder"_q);
            QVERIFY(QDir().mkpath(folder));
            QVERIFY(QFile::link(encoder.second, folder + "/ffmpeg.exe"_q));
        }
    }

    void init()
    {
        m_job.reset(); // it may still write
        m_site.clear();
        Options::instance()->deleteTempFile = true;
        useProfile("child"_q, "copy $output"_q);
        watch(m_site.newJob());
    }

    void converts_data()
    {
        QTest::addColumn<Sample>("sample");
        QTest::addColumn<QString>("dimension");
        QTest::addColumn<QString>("box");
        QTest::addColumn<QString>("frame"); // of the result
        const auto row = [](const char *name, Sample sample, const char *dimension, const char *box,
                            const char *frame) {
            QTest::newRow(name) << sample << QString::fromLatin1(dimension)
                                << QString::fromLatin1(box) << QString::fromLatin1(frame);
        };
        row("FLV, other size than the page says", Sample::Flv, "321x181", "0x0", "640x360");
        row("FLV, unknown size", Sample::Flv, "", "700x700", "640x360");
        row("index last", Sample::Mp4IndexLast, "640x360", "320x240", "320x240");
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
        QCOMPARE(m_site.outputFiles(), QStringList{"Clip.mkv"_q});
        const MediaFile result = lookAt(m_fileAtEnd);
        QCOMPARE("%1x%2"_q.arg(result.frame.width()).arg(result.frame.height()), frame);
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
        QTest::addColumn<int>("trouble");
        const auto row = [](const char *name, const char *encoder, const char *command, int why) {
            QTest::newRow(name) << encoder << command << why;
        };
        row("not a video", "real", "-y -i $input $output", JobTrouble::SourceUnreadable);
        row("exit 3", "child", "touch $output 3", JobTrouble::ConversionFailed);
        row("no encoder", "none", "-", JobTrouble::AdapterMissing);
        row("no such format", "child", "", 1012);
    }

    void fails()
    {
        QFETCH(QString, encoder);
        QFETCH(QString, command);
        QFETCH(int, trouble);
        const int error = trouble == 1012 ? trouble : trouble == JobTrouble::AdapterMissing ? 0 : 1;
        m_site.server.setResponse("/stream", slowStream(large));
        useProfile(encoder, command);
        m_job->record.output_format = command.isEmpty() ? 7 : 1;
        m_job->start();
        QTRY_COMPARE_WITH_TIMEOUT(m_ends, 1, convertTime);
        QCOMPARE(m_job->record.video_state, JobState::Errored);
        QTRY_COMPARE(m_site.server.openConnections(), 0);
        QCOMPARE(m_ends, 1);
        QCOMPARE(m_site.outputFiles(), QStringList());
        QCOMPARE(qint64(m_job->record.download_bytes), 0LL);
        QVERIFY(logged({"Convert:"_q, "Error(%1)"_q.arg(error)}));
        QCOMPARE(m_job->trouble().code, trouble);
        // What failed can be tried again, from the beginning, with one encoder.
        m_site.server.setResponse("/stream", EngineFixture::stream(200000));
        useProfile("child"_q, "copy $output"_q);
        m_job->record.output_format = 1;
        watch(std::move(m_job));
        m_job->start();
        endsAsCopy(200000);
        QCOMPARE(countLogged({"Command Line:"_q}), 1);
    }

    void resultThatIsGoneKeepsTheSource()
    {
        useProfile("child"_q, "say nothing"_q);
        watch(m_site.interruptedJob(300000, 300000, 300000));
        m_job->start();
        QTRY_COMPARE(m_ends, 1);
        QCOMPARE(m_job->record.video_state, JobState::Errored);
        useProfile("child"_q, "copy $output"_q);
        watch(std::move(m_job));
        m_job->start();
        endsAsCopy(300000);
        QCOMPARE(m_site.server.requests("/stream").size(), 0);
    }

    void encoderThatWantsNoMore()
    {
        for (const bool complete : {false, true}) { // the download, when the encoder ends
            init();
            Options::instance()->deleteTempFile = false;
            m_site.server.setResponse("/stream",
                                      complete ? EngineFixture::stream(large) : slowStream(large));
            const QString end = m_sandbox.path("end %1"_q.arg(complete));
            useProfile("child"_q, "refuse \"%1\""_q.arg(end));
            m_job->start();
            QTRY_VERIFY(m_job->record.download_bytes > 100000);
            QTRY_VERIFY(!complete || logged({"Download Finished:"_q}));
            m_job->pause();
            m_job->start();
            QCOMPARE(m_ends, 0);
            QVERIFY(writeFile(m_job->record.output_name, "made"));
            QVERIFY(writeFile(end, "x"));
            QTRY_COMPARE(m_ends, 1);
            QCOMPARE(m_job->record.download_bytes == large, complete);
            QTRY_COMPARE(m_site.server.openConnections(), 0);
            QCOMPARE(m_ends, 1);
            QCOMPARE(m_site.outputFiles().size(), 2); // the source was to be kept
            QCOMPARE(readFile(m_fileAtEnd), QByteArray("made"));
        }
    }

    void keepsUpWithTheDownload()
    {
        m_site.server.setResponse("/stream", EngineFixture::stream(large, large));
        m_job->start();
        QTRY_VERIFY(m_job->record.download_bytes > large / 10 * 9);
        QVERIFY(m_job->record.encodedBytes > large / 2);
        endsAsCopy(large);
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
        m_job->start();
        endsAsCopy(large);
        QCOMPARE(countLogged({"Download Finished:"_q}), 1);
    }

    void pausedAfterTheDrain()
    {
        watch(m_site.interruptedJob(300000, 300000, 300000));
        m_job->start();
        m_job->pause();
        QTRY_COMPARE(m_job->record.video_state, JobState::PauseFinishes);
        QVERIFY(logged({"Convert:"_q, "Finished and Success(Paused)."_q}));
        QCOMPARE(m_ends, 0);
        QVERIFY(m_job->canStart());
        m_job->start();
        QCOMPARE(m_ends, 1);
        endsAsCopy(300000);
    }

    void pausesWhileItDownloads()
    {
        for (const bool allThere : {false, true}) {
            init();
            m_site.server.setResponse("/stream", slowStream(200000));
            m_job->start();
            QTRY_VERIFY(m_job->record.encodedBytes > 0);
            // All there: the end of the transfer is on its way and not yet heard of.
            const QDeadlineTimer deadline(5000);
            while (allThere && m_job->record.download_bytes < 200000 && !deadline.hasExpired())
                QThread::msleep(2); // without the event loop
            m_job->pause();
            QCOMPARE(m_job->record.download_bytes == 200000, allThere);
            m_job->start();
            endsAsCopy(200000);
        }
    }

    void blockedEncoder()
    {
        m_site.server.setResponse("/stream", EngineFixture::stream(large));
        useProfile("child"_q, "block"_q);
        m_job->start();
        QTRY_VERIFY(logged({"Download Finished:"_q}));
        QVERIFY(m_job->record.encodedBytes < large);
        QVERIFY(writeFile(m_job->record.output_name, "part"));
        m_job->stop();
        m_job->remove(true);
        QCOMPARE(m_site.outputFiles(), QStringList());
        QCOMPARE(m_ends, 0);
    }

    void cutSourceIsFetchedAgain()
    {
        for (const int format : {0, 1}) {
            init();
            m_site.server.setResponse("/stream", EngineFixture::stream(large));
            watch(m_site.interruptedJob(large, large, large));
            m_job->record.output_format = format;
            if (format != 0) // what is handed over already is of no use any more
                m_job->start();
            QVERIFY(QFile::resize(m_job->record.video_mame, 1000));
            if (format == 0)
                m_job->start();
            endsAsCopy(large);
        }
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

    // A row that somebody wrote by hand.
    void jobWithoutGuidRemovesNoFileOfAnother()
    {
        const QString other = m_sandbox.outputFolder() + "other.mkv"_q;
        QVERIFY(writeFile(other, "x"));
        m_site.server.setResponse("/stream", slowStream(large));
        m_job->record.output_name = other;
        m_job->record.guid.clear();
        m_job->record.quality_index = -1;
        m_job->start();
        QTRY_VERIFY(m_job->record.encodedBytes > 0);
        QVERIFY(QFile::exists(other));
        QVERIFY(m_job->record.quality_index >= 0); // else the transfer would read the options
    }

    // As after the end of the program; the format has been given another extension since.
    void interruptedJobIsConvertedFromTheBeginning()
    {
        m_site.server.setResponse("/stream", EngineFixture::stream(200000));
        watch(m_site.interruptedJob(100000, 100000, 200000));
        m_job->record.output_name = m_sandbox.outputFolder() + m_job->record.guid + ".avi"_q;
        QVERIFY(writeFile(m_job->record.output_name, "part"));
        m_job->start();
        endsAsCopy(200000);
    }

private:
    void watch(std::unique_ptr<HttpJob> job)
    {
        m_job = std::move(job);
        m_ends = 0;
        m_logBegin = m_sandbox.logLines().size();
        m_job->disconnect(this);
        connect(m_job.get(), &HttpJob::sigFinished, this, [this] {
            ++m_ends;
            m_fileAtEnd = m_job->record.output_name;
        });
    }

    void endsAsCopy(qint64 bytes)
    {
        QTRY_COMPARE(m_ends, 1);
        QVERIFY(isPattern(m_fileAtEnd, bytes));
        const QString suffix = m_job->record.output_format == 0 ? "mp4"_q : "mkv"_q;
        QCOMPARE(m_site.outputFiles(), QStringList("Clip."_q + suffix));
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

    // Lines since the job is watched that hold all of these texts.
    int countLogged(const QStringList &texts) const
    {
        const QStringList lines = m_sandbox.logLines().mid(m_logBegin);
        return int(std::count_if(lines.cbegin(), lines.cend(), [&](const QString &line) {
            return std::all_of(texts.cbegin(), texts.cend(),
                               [&](const QString &text) { return line.contains(text); });
        }));
    }
    bool logged(const QStringList &texts) const { return countLogged(texts) > 0; }

    std::unique_ptr<HttpJob> m_job;
    int m_ends = 0;
    QString m_fileAtEnd;
    int m_logBegin = 0;
};

REELKEEPER_TEST_MAIN(ConversionTest)
#include "tst_conversion.moc"
