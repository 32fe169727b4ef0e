#include "encoder.h"
#include "encodercommand.h"
#include "jobdata.h"
#include "literals.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "testmain.h"

static QByteArray formats(const QByteArray &items)
{
    return "<save_as><g des='G'>" + items + "</g></save_as>";
}

static QByteArray item(int id, const QByteArray &display)
{
    return "<i id='" + QByteArray::number(id) + "' display='" + display +
           "' size='0x0' fixed_size='0' ext='mp4' value='-i $input $size -m title=$title $output "
           "$SIZE $outputs'/>";
}

static const char *qualities = "<video_quality><q display='a' value='640x360'/>"
                               "<q display='b' value='854x480'/>"
                               "<q display='c' value='1x1'/></video_quality>";

class OutputProfilesTest final : public SandboxTest
{
    Q_OBJECT

public:
    using SandboxTest::SandboxTest;

private slots:
    void initTestCase() { m_sandbox.loadOptions(true); }

    void damagedProfilesAreRefused()
    {
        OutputProfileManager profiles(*Options::instance());
        QVERIFY(!load(profiles, "<save_as>"));
        const QByteArray good = formats(item(1, "one"));
        QVERIFY(load(profiles, "<!-- c --><x/>" + good + qualities));
        QList<QByteArray> damaged = {formats(""), "<save_as/>"};
        for (const char *name :
             {" des=", " id=", " display=", " size=", " fixed_size=", " ext=", " value="})
            damaged << QByteArray(good).replace(name, " x=");
        for (const QByteArray &body : damaged) {
            QVERIFY2(!load(profiles, body), body);
            QCOMPARE(m_sandbox.logLines().last(), "Failed:Load profile item save_as"_q);
        }
        QVERIFY(!load(profiles, QByteArray(qualities).replace("value", "x")));
        QCOMPARE(m_sandbox.logLines().last(), "Failed:Load profile item video_quality"_q);
    }

    void choicesAreKept()
    {
        Options &options = *Options::instance();
        options.outputFormat = 7;
        options.sourceQuality = 3;
        OutputProfileManager profiles(*Options::instance());
        QVERIFY(load(profiles, qualities + formats(item(1, "first")) +
                                   formats(item(1, "last") + item(1, "hidden"))));
        // A stored choice that is no longer there stays stored.
        QVERIFY(options.outputFormat == 7 && options.sourceQuality == 3 && !profiles.current());
        QVERIFY(!profiles.setOutputFormat(9) && !profiles.setSourceQuality(3));
        QVERIFY(profiles.setOutputFormat(1) && profiles.setSourceQuality(2));
        QVERIFY(options.outputFormat == 1 && options.sourceQuality == 2);
        QCOMPARE(profiles.current()->display, "last"_q);
        QCOMPARE(m_sandbox.logLines().last(), "Output format:last"_q);
    }

    void matchesQuality_data()
    {
        QTest::addColumn<int>("quality");
        QTest::addColumn<int>("stream");
        QTest::newRow("640x360 flv,640x360 mp4,1280x720 mp4") << 0 << 1; // the same as MP4
        QTest::newRow("640x359 mp4,640x360 x-flv") << 0 << 1; // the same before a near one
        QTest::newRow("640x360 flv,640x360 mp4,1280x720 webm") << -1 << 1; // the stored one
        QTest::newRow("640x360 flv,640x360 mp4,1280x720 flv") << 2 << 2;   // the largest
        QTest::newRow("2000x100 mp4,100x2000 mp4,640x480 mp4") << 9 << 2;  // larger both ways
        QTest::newRow("1280x720 mp4,1x1 mp4") << 2 << 1;
        QTest::newRow("big mp4,12x3x4 mp4,700x mp4") << 0 << 2;
        QTest::newRow("1x2 webm,640x360 MP4") << 0 << 0; // no known type
    }
    void matchesQuality()
    {
        QFETCH(int, quality);
        QVector<VideoStream> streams;
        for (const QString &text :
             QString::fromLatin1(QTest::currentDataTag()).split(QLatin1Char(','))) {
            VideoStream stream;
            stream.dimension = text.section(QLatin1Char(' '), 0, 0);
            stream.type = text.section(QLatin1Char(' '), 1);
            streams << stream;
        }
        OutputProfileManager profiles(*Options::instance());
        QVERIFY(load(profiles, qualities));
        Options::instance()->sourceQuality = 1;
        QTEST(profiles.matchQuality(streams, quality), "stream");
    }

    void fitsFrames()
    {
        const char *const cases[][3] = {
            {"640x360", "320x240", "320x180 -padtop 30 -padbottom 30 -padcolor 0x000000"},
            {"1280x720", "640x480", "640x360 -padtop 60 -padbottom 60 -padcolor 0x000000"},
            {"640x360", "176x144", "176x98 -padtop 22 -padbottom 24 -padcolor 0x000000"},
            {"1920x1080", "720x480", "720x404 -padtop 38 -padbottom 38 -padcolor 0x000000"},
            {"640x480", "480x272", "362x272 -padleft 58 -padright 60 -padcolor 0x000000"},
            {"720x480", "640x360", "540x360 -padleft 50 -padright 50 -padcolor 0x000000"},
            {"641x360", "640x360", "640x360"},
            {"9000x1", "320x240", "320x2 -padtop 118 -padbottom 120 -padcolor 0x000000"},
            {"640x0", "320x240", "320x240"},
            {"640x360", "320x-2", "320x-2"},
        };
        for (const auto &row : cases)
            QCOMPARE(frameSizeArgument(QString::fromLatin1(row[0]), QString::fromLatin1(row[1])),
                     QString::fromLatin1(row[2]));
    }

    void fitsFormats()
    {
        const auto fitted = [](const char *source, const char *bounds, bool fixed) {
            SaveAsItem format;
            format.size = QString::fromLatin1(bounds);
            format.fixedSize = fixed;
            const EncoderSize size = encoderSize(format, QString::fromLatin1(source));
            return size.argument + " for "_q + size.dimension;
        };
        QCOMPARE(fitted("321x180", "320x240", false).right(11), "for 320x240"_q);
        QCOMPARE(fitted("160x241", "320x240", false).right(11), "for 320x240"_q);
        QCOMPARE(fitted("320x180", "320x240", false), "320x180 for 320x180"_q);
        QCOMPARE(fitted("160x90", "320x240", true).right(20), "0x000000 for 320x240"_q);
        QCOMPARE(fitted("640x360", "0x9", true), "640x360 for 640x360"_q);
        QCOMPARE(fitted("", "320x240", true), "320x240 for 320x240"_q);
        QCOMPARE(fitted("1x1 -y /x", "0x0", false), "0x0 for 1x1 -y /x"_q);
    }

    void buildsCommands()
    {
        OutputProfileManager profiles(*Options::instance());
        QVERIFY(load(profiles, formats(item(0, "as it is") + item(5, "Pho\\ne/"))));
        const QString folder = m_sandbox.path("the \"odd\"  $size\"/"_q);
        Options::instance()->outputFolder = folder;
        Options::instance()->appendDeviceName = true;
        JobData job;
        job.guid = "{G}"_q;
        job.video_dimension = "$output"_q;
        job.title = "-a \"b\"\n%1;  c"_q;
        for (const int format : {0, 6, 5}) {
            job.output_format = format;
            QCOMPARE(bool(profiles.createEncoder(job)), format == 5);
        }
        const QString name = folder + "{G} - Pho ne_($output).mp4"_q;
        QCOMPARE(job.output_name, name);
        const QStringList logged = m_sandbox.logLines().mid(m_sandbox.logLines().size() - 2);
        QCOMPARE(logged.first(), "Convert:Unknown frame size($output), no padding."_q);
        QCOMPARE(QProcess::splitCommand(logged.last()),
                 QStringList({"Command"_q, "Line:-i"_q, "-"_q, "$output"_q, "-m"_q,
                              "title=-a \"b\" %1;  c"_q, name, "$SIZE"_q, name + "s"_q}));
    }

private:
    bool load(OutputProfileManager &profiles, const QByteArray &body)
    {
        const QString path = m_sandbox.path("Profiles.xml"_q);
        return writeFile(path, "<profiles>" + body + "</profiles>") && profiles.load(path);
    }
};

REELKEEPER_TEST_MAIN(OutputProfilesTest)
#include "tst_outputprofiles.moc"
