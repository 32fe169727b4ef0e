#include "encodercommand.h"
#include "ffmpegencoder.h"
#include "filereader.h"
#include "jobdata.h"
#include "testmain.h"

// Runs the stand-in and keeps the lines that the job would look at.
class ChildEncoder final : public Encoder
{
public:
    ChildEncoder(JobData &job, const QString &arguments)
        : Encoder(job, arguments)
    {
    }
    QString programPath() const override { return program; }
    bool parseProgress(const QString &line) override
    {
        lines.append(line);
        return true;
    }

    QString program = QStringLiteral(ENCODER_CHILD);
    QStringList lines;
};

class EncoderTest : public QObject
{
    Q_OBJECT

public:
    explicit EncoderTest(Sandbox &sandbox)
        : m_sandbox(sandbox)
    {
    }

private slots:
    void readsProgress_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<int>("duration");
        QTest::addColumn<float>("seconds"); // below 0: not a progress line
        const char *full =
            "frame=  250 fps= 30 q=2.0 size=  1024kB time=10.00 bitrate=838.9kbits/s";
        QTest::newRow("inside the video") << full << 60 << 10.0F;
        QTest::newRow("past its end") << full << 8 << 8.0F;
        QTest::newRow("blanks and tabs") << "frame=\t 7 time= \t3.5" << 60 << 3.5F;
        QTest::newRow("unreadable time") << "frame=7 time=1.2.3" << 60 << 0.0F;
        QTest::newRow("no time") << "frame=  250 fps= 30" << 60 << -1.0F;
        QTest::newRow("no frame number") << "frame= time=1.0" << 60 << -1.0F;
        QTest::newRow("not at the start") << " frame=7 time=1.0" << 60 << -1.0F;
    }

    void readsProgress()
    {
        QFETCH(QString, line);
        QFETCH(int, duration);
        QFETCH(float, seconds);
        JobData job;
        job.duration = duration;
        job.convertedSeconds = 42;
        FFMpegEncoder encoder(job, QString());
        QCOMPARE(encoder.parseProgress(line), seconds >= 0);
        QCOMPARE(job.convertedSeconds, seconds >= 0 ? seconds : 42.0F);
        QCOMPARE(job.changeFlags.test(ProgressChanged), seconds >= 0);
    }

    void endsOnce_data()
    {
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<int>("error"); // below 0: finished well
        QTest::addColumn<QString>("lines");
        QTest::newRow("lines ended by CR") << "say a\\rb\\r" << -1 << "a,b";
        QTest::newRow("by LF") << "say a\\nb\\n" << -1 << "a,b";
        QTest::newRow("by CR LF") << "say a\\r\\nb\\r\\n" << -1 << "a,b";
        QTest::newRow("not at all") << "say a\\nb" << -1 << "a,b";
        QTest::newRow("exit 3") << "say a 3" << 1 << "a";
        QTest::newRow("exit 255") << "say a 255" << 1 << "a";
        QTest::newRow("crash") << "crash" << 1 << "";
    }

    void endsOnce()
    {
        QFETCH(QString, arguments);
        QFETCH(int, error);
        JobData job;
        ChildEncoder encoder(job, arguments);
        QSignalSpy finished(&encoder, &Encoder::convertFinished);
        QSignalSpy errored(&encoder, &Encoder::convertErrored);
        QCOMPARE(encoder.write("x", 1), qint64(-1));
        QVERIFY(encoder.start());
        QTRY_COMPARE(finished.count() + errored.count(), 1);
        QCOMPARE(error < 0 ? finished : errored, (QList<QVariantList>{{qMax(error, 0)}}));
        QCoreApplication::processEvents();
        QCOMPARE(finished.count() + errored.count(), 1);
        QTEST(encoder.lines.join(QLatin1Char(',')), "lines");
        QCOMPARE(encoder.write("x", 1), qint64(-1));
        QVERIFY(!encoder.stop());
    }

    void survivesBeingDeletedByItsEnd()
    {
        JobData job;
        for (const bool missing : {true, false}) {
            auto encoder = std::make_unique<ChildEncoder>(job, QStringLiteral("crash"));
            if (missing)
                encoder->program = m_sandbox.path(QStringLiteral("nothing \"here"));
            QList<int> errors;
            connect(encoder.get(), &Encoder::convertErrored, this, [&](int code) {
                errors.append(code);
                encoder.reset();
            });
            QVERIFY(encoder->start());
            QTRY_COMPARE(errors, QList<int>{missing ? 0 : 1});
        }
    }

    void keepsHalfLines()
    {
        JobData job;
        ChildEncoder encoder(job, QStringLiteral("half"));
        QSignalSpy finished(&encoder, &Encoder::convertFinished);
        encoder.start();
        QTRY_COMPARE(encoder.lines, QStringList{QStringLiteral("first")});
        encoder.write("x", 1);
        QTRY_COMPARE(finished.count(), 1);
        QCOMPARE(encoder.lines, (QStringList{QStringLiteral("first"), QStringLiteral("second")}));
    }

    void ignoresLinesOfAPausedJob()
    {
        JobData job;
        job.video_state = JobState::Stopped;
        ChildEncoder encoder(job, QStringLiteral("flood"));
        QSignalSpy finished(&encoder, &Encoder::convertFinished);
        encoder.start();
        QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 1, 30000);
        QCOMPARE(encoder.lines, QStringList());
    }

    void handsOverAllInput()
    {
        JobData job;
        ChildEncoder encoder(job, QStringLiteral("count"));
        QSignalSpy finished(&encoder, &Encoder::convertFinished);
        QSignalSpy taken(&encoder, &Encoder::inputTaken);
        encoder.start();
        const QByteArray bytes(3 * 1024 * 1024, 'x');
        QCOMPARE(encoder.write(bytes.constData(), bytes.size()), qint64(bytes.size()));
        QVERIFY(encoder.pendingInput() > 0);
        encoder.closeInput();
        QCOMPARE(encoder.write("x", 1), qint64(-1));
        QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 1, 30000);
        QVERIFY(taken.count() > 0);
        QCOMPARE(encoder.pendingInput(), qint64(0));
        QCOMPARE(encoder.lines, QStringList{QStringLiteral("bytes %1").arg(bytes.size())});
    }

    void toleratesRefusedInput()
    {
        const QString file = m_sandbox.path(QStringLiteral("end"));
        JobData job;
        ChildEncoder encoder(job, QStringLiteral("refuse %1").arg(quotedArgument(file)));
        QSignalSpy finished(&encoder, &Encoder::convertFinished);
        QSignalSpy errored(&encoder, &Encoder::convertErrored);
        QSignalSpy taken(&encoder, &Encoder::inputTaken);
        encoder.start();
        QTRY_COMPARE(encoder.lines, QStringList{QStringLiteral("closed")});
        const QByteArray bytes(1024 * 1024, 'x');
        encoder.write(bytes.constData(), bytes.size());
        QTRY_VERIFY(taken.count() > 0);
        QVERIFY(encoder.isRunning());
        QCOMPARE(encoder.pendingInput(), qint64(0));
        QCOMPARE(encoder.write("x", 1), qint64(-1));
        QVERIFY(writeFile(file, "x"));
        QTRY_COMPARE(finished.count(), 1);
        QCOMPARE(errored.count(), 0);
    }

    void stopsSilently()
    {
        JobData job;
        ChildEncoder encoder(job, QStringLiteral("block"));
        QSignalSpy finished(&encoder, &Encoder::convertFinished);
        QSignalSpy errored(&encoder, &Encoder::convertErrored);
        QVERIFY(!encoder.stop());
        encoder.start();
        QTRY_COMPARE(encoder.lines.count(), 1);
        QVERIFY(encoder.stop());
        QVERIFY(!encoder.isRunning());
        QCoreApplication::processEvents();
        QCOMPARE(finished.count() + errored.count(), 0);

        ChildEncoder missing(job, QString());
        missing.program = m_sandbox.path(QStringLiteral("nothing"));
        QSignalSpy late(&missing, &Encoder::convertErrored);
        missing.start();
        QVERIFY(!missing.stop());
        QCoreApplication::processEvents();
        QCOMPARE(late.count(), 0);
    }

    void takesTheChildWithIt()
    {
        JobData job;
        auto encoder = std::make_unique<ChildEncoder>(job, QStringLiteral("block"));
        encoder->start();
        QTRY_COMPARE(encoder->lines.count(), 1);
        const QString process = QStringLiteral("/proc/") + encoder->lines.first();
        QVERIFY(QFile::exists(process));
        encoder.reset();
        QVERIFY(!QFile::exists(process));
    }

    void readsGrowingFile()
    {
        const QString path = m_sandbox.path(QStringLiteral("growing"));
        QVERIFY(writeFile(path, "0123456789"));
        FileReader reader;
        QVERIFY(!reader.open(path + QStringLiteral("_")));
        QVERIFY(reader.open(path));
        char buffer[8];
        const auto read = [&](qint64 position, int result, const QByteArray &bytes) {
            qint64 length = sizeof buffer;
            QCOMPARE(reader.read(buffer, length, position), result);
            QCOMPARE(length < 0 ? QByteArray("?") : QByteArray(buffer, int(length)), bytes);
        };
        read(0, FileReader::Delivered, "01234567");
        read(8, FileReader::Delivered, "89");
        read(10, FileReader::NothingYet, "");
        read(3, FileReader::Delivered, "3456789");
        QVERIFY(writeFile(path, "0123456789ab"));
        reader.setPaused(true);
        read(0, FileReader::Ended, "");
        reader.setPaused(false);
        read(10, FileReader::Delivered, "ab");
        reader.setFinished();
        read(12, FileReader::Ended, "");
        read(9, FileReader::Delivered, "9ab");
    }

    void survivesShrinkingAndVanishing()
    {
        const QString path = m_sandbox.path(QStringLiteral("shrinking"));
        QVERIFY(writeFile(path, "0123456789"));
        FileReader reader;
        char buffer[4];
        qint64 length = sizeof buffer;
        QCOMPARE(reader.read(buffer, length, 0), int(FileReader::BadPosition));
        QVERIFY(reader.open(path));
        QCOMPARE(reader.read(buffer, length, 4), int(FileReader::Delivered));
        QVERIFY(QFile::resize(path, 2));
        QCOMPARE(reader.read(buffer, length, 8), int(FileReader::NothingYet));
        QCOMPARE(length, qint64(0));
        QVERIFY(QFile::remove(path));
        length = sizeof buffer;
        QCOMPARE(reader.read(buffer, length, 0), int(FileReader::Delivered));
        QCOMPARE(QByteArray(buffer, int(length)), QByteArray("01"));
        QCOMPARE(reader.read(buffer, length, -1), int(FileReader::BadPosition));
        reader.setFinished();
        QCOMPARE(reader.read(buffer, length, 8), int(FileReader::Ended));
    }

private:
    Sandbox &m_sandbox;
};

REELKEEPER_TEST_MAIN(EncoderTest)
#include "tst_encoder.moc"
