#include "ffmpegencoder.h"
#include "filereader.h"
#include "jobdata.h"
#include "literals.h"
#include "testmain.h"

// Runs the stand-in; keeps the lines that the job would look at and the ends it would hear of.
class ChildEncoder final : public Encoder
{
public:
    ChildEncoder(JobData &job, const QString &arguments)
        : Encoder(job, arguments)
    {
        connect(this, &Encoder::convertFinished, this, [this]() { ends << 0; });
        connect(this, &Encoder::convertErrored, this, [this](int code) { ends << 100 + code; });
    }
    QString programPath() const override { return QStringLiteral(ENCODER_CHILD); }
    bool parseProgress(const QString &line) override
    {
        lines << line;
        return true;
    }

    QStringList lines;
    QList<int> ends; // 0: finished, 100 and the code: errored
};

class EncoderTest final : public SandboxTest
{
    Q_OBJECT

public:
    using SandboxTest::SandboxTest;

private slots:
    void readsProgress()
    {
        const QPair<QString, float> cases[] = {
            {"frame=  250 fps= 30 q=2.0 size=  1024kB time=10.00 bitrate=8kb/s"_q, 10.0F},
            {"frame=\t 7 time= \t99.5"_q, 60.0F}, // no longer than the video
            {"frame= time=1.0"_q, 42.0F},         // what it was before
            {" frame=7 time=1.0"_q, 42.0F},
        };
        for (const auto &row : cases) {
            JobData job;
            job.duration = 60;
            job.convertedSeconds = 42;
            FFMpegEncoder encoder(job, QString(), QString());
            encoder.parseProgress(row.first);
            QCOMPARE(job.convertedSeconds, row.second);
            QCOMPARE(job.changeFlags.test(ProgressChanged), row.second != 42.0F);
        }
    }

    void endsOnce_data()
    {
        QTest::addColumn<qint32>("trouble"); // 0: it ends well
        QTest::addColumn<QString>("lines");
        QTest::newRow("say \"a\rb\r\nc\nd\"") << 0 << "a,b,c,d";
        QTest::newRow("say a 255") << qint32(JobTrouble::ConversionFailed) << "a";
        QTest::newRow("say a 254") << qint32(JobTrouble::FFmpegCrashed) << "a";
        QTest::newRow("crash") << qint32(JobTrouble::FFmpegCrashed) << "";
    }
    void endsOnce()
    {
        JobData job;
        ChildEncoder encoder(job, QString::fromLatin1(QTest::currentDataTag()));
        QVERIFY(encoder.start());
        QTRY_VERIFY(!encoder.ends.isEmpty());
        QCoreApplication::processEvents();
        QCOMPARE(encoder.ends.size(), 1);
        QTEST(encoder.ends.first() == 101 ? encoder.trouble().code : encoder.ends.first(),
              "trouble");
        QTEST(encoder.lines.join(QLatin1Char(',')), "lines");
        QCOMPARE(encoder.write("x", 1), qint64(-1));
    }

    // As FFmpeg 5.1 and the adapter say it.
    void saysWhyItFailed()
    {
        static const struct
        {
            qint32 code;
            const char *detail;
            const char *lines;
        } cases[] = {
            {JobTrouble::EncoderMissing, "libfaac", "Unknown encoder 'libfaac'"},
            {JobTrouble::SoundRefused, "Sample rate 96000 is not supported",
             "  Stream #0:1(und): Audio: aac|  Stream #0:1 -> #0:0 (aac (native) -> mp3 (lame))|"
             "[lame @ 0x56] Sample rate 96000 is not supported|Error initializing output stream 0:0"
             " -- Error while opening encoder for output stream #0:0|Conversion failed!"},
            {JobTrouble::PictureRefused, "Error setting profile x.",
             "  Stream #0:1(und): Audio: aac|[libx264 @ 0x5c] Error setting profile x.|Error "
             "initializing output stream 0:0 -- Error while opening encoder for output stream"},
            {JobTrouble::DiskFull, "",
             "Error closing file /a: No space left on device|ffmpeg.exe: /a could not be written"},
            {JobTrouble::OutputUnusable, "b.mp4 is empty", "ffmpeg.exe: /a/b.mp4 is empty"},
            {JobTrouble::ConversionFailed, "Could not write header: Invalid argument",
             "Error while decoding stream #0:0: Invalid data found when processing input|[mp4 @ "
             "0x5] Could not write header: Invalid argument|Error initializing -- |Conversion "
             "failed!"},
        };
        for (const auto &row : cases) {
            EncoderFault fault;
            for (const QString &line : QString::fromLatin1(row.lines).split(QLatin1Char('|')))
                fault.take(line);
            QCOMPARE(fault.trouble().code, row.code);
            QCOMPARE(fault.trouble().detail, QLatin1String(row.detail));
        }
    }

    void ignoresAFloodWhilePaused()
    {
        JobData job;
        job.video_state = JobState::Stopped;
        ChildEncoder encoder(job, "flood"_q);
        encoder.start();
        QTRY_COMPARE_WITH_TIMEOUT(encoder.ends, QList<int>{0}, 30000);
        QCOMPARE(encoder.lines, QStringList());
    }

    void stopsSilently()
    {
        JobData job;
        for (const bool deleted : {false, true}) {
            auto encoder = std::make_unique<ChildEncoder>(job, "block"_q);
            encoder->start();
            QTRY_COMPARE(encoder->lines.size(), 1);
            const QString process = "/proc/"_q + encoder->lines.first();
            QVERIFY(QFile::exists(process) && (deleted || encoder->stop()));
            QCoreApplication::processEvents();
            QCOMPARE(encoder->ends, QList<int>());
            encoder.reset();
            QVERIFY(!QFile::exists(process));
        }
    }

    void readsWhatGrowsAndShrinks()
    {
        const QString path = m_sandbox.path("growing"_q);
        FileReader reader;
        char buffer[8];
        const auto read = [&](qint64 position, int result, const QByteArray &bytes = {}) {
            qint64 length = sizeof buffer;
            QCOMPARE(reader.read(buffer, length, position), result);
            if (result == FileReader::Delivered)
                QCOMPARE(QByteArray(buffer, int(length)), bytes);
        };
        QVERIFY(writeFile(path, "0123456789"));
        QVERIFY(!reader.open(path + "_"_q) && reader.open(path));
        read(0, FileReader::Delivered, "01234567");
        read(8, FileReader::Delivered, "89");
        read(10, FileReader::NothingYet);
        QVERIFY(writeFile(path, "0123456789ab"));
        reader.setPaused(true);
        read(10, FileReader::Ended);
        reader.setPaused(false);
        read(10, FileReader::Delivered, "ab");
        QVERIFY(QFile::resize(path, 2) && QFile::remove(path));
        read(8, FileReader::NothingYet);
        read(0, FileReader::Delivered, "01");
        reader.setFinished();
        read(8, FileReader::Ended);
    }
};

REELKEEPER_TEST_MAIN(EncoderTest)
#include "tst_encoder.moc"
