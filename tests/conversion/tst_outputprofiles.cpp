#include "encoder.h"
#include "encodercommand.h"
#include "jobdata.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "testmain.h"

static QByteArray item(int id, const QByteArray &rest)
{
    return "<i id='" + QByteArray::number(id) + "' " + rest + "/>";
}

static QByteArray plainItem(int id, const QByteArray &display)
{
    return item(id, "value='' ext='mp4' size='0x0' fixed_size='0' display='" + display + "'");
}

static const char *qualities = "<video_quality><q display='a' value='640x360'/>"
                               "<q display='b' value='854x480'/>"
                               "<q display='c' value='1x1'/></video_quality>";

class OutputProfilesTest : public QObject
{
    Q_OBJECT

public:
    explicit OutputProfilesTest(Sandbox &sandbox)
        : m_sandbox(sandbox)
    {
    }

private slots:
    void initTestCase() { m_sandbox.loadOptions(true); }
    void loads_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>(
            "failed"); // the element named in the log, "-" for none; empty: loads
        QTest::addColumn<QString>("names"); // the first format of each group that is there
        const QByteArray item = plainItem(1, "one");
        const QByteArray group = "<g des='G'>" + item + "</g>";
        const QByteArray saveAs = "<save_as>" + group + "</save_as>";
        const QByteArray quality = "<video_quality><q display='z' value='z'/></video_quality>";
        const struct
        {
            const char *name;
            QByteArray body;
            const char *failed, *names;
        } rows[] = {
            {"empty", "", "", ""},
            {"comments outside", "<!-- c -->" + saveAs + "<x/>", "", "one"},
            {"two save_as add up", saveAs + saveAs, "", "one,one"},
            {"the last qualities hold", quality + qualities, "", ""},
            {"comment in save_as", "<save_as><!-- c -->" + group + "</save_as>", "save_as", ""},
            {"comment in group", "<save_as><g des=''><!-- c -->" + item + "</g></save_as>",
             "save_as", ""},
            {"empty save_as", "<save_as/>", "save_as", ""},
            {"empty group", "<save_as>" + group + "<g des='G'/></save_as>", "save_as", "one"},
            {"no heading", "<save_as><g>" + item + "</g></save_as>", "save_as", ""},
            {"no quality", "<video_quality/>", "video_quality", ""},
            {"malformed", "<save_as>", "-", ""},
        };
        for (const auto &row : rows)
            QTest::newRow(row.name) << row.body << row.failed << row.names;
        for (const char *name : {" id=", " display=", " value=", " ext=", " size=", " fixed_size="})
            QTest::newRow(name) << QByteArray(saveAs).replace(name, " x=") << "save_as"
                                << "";
        for (const char *name : {"value=", "display="})
            QTest::newRow(name) << QByteArray(quality).replace(name, "x=") << "video_quality"
                                << "";
    }

    void loads()
    {
        QFETCH(QByteArray, body);
        QFETCH(QString, failed);
        OutputProfileManager profiles;
        const int before = m_sandbox.logLines().size();
        QCOMPARE(load(profiles, body), failed.isEmpty());
        const QString log = m_sandbox.logLines().mid(before).join(QLatin1Char(','));
        QCOMPARE(log, failed.size() < 2 ? QString()
                                        : QStringLiteral("Failed:Load profile item ") + failed);
        QStringList found;
        for (const auto &group : profiles.groups())
            found.append(group->items.front()->display);
        QTEST(found.join(QLatin1Char(',')), "names");
        if (body.endsWith(qualities)) {
            QCOMPARE(profiles.qualities().size(), 3);
            QCOMPARE(profiles.qualities().first().value, QStringLiteral("640x360"));
        }
    }

    void looksUpFormats()
    {
        OutputProfileManager profiles;
        QVERIFY(!profiles.load(m_sandbox.path(QStringLiteral("missing.xml"))));
        Options &options = *Options::instance();
        options.outputFormat = 7;
        options.sourceQuality = 3;
        const char *fixed = "<i id='abc' display='abc' value='' ext='' size='' fixed_size='1'/>";
        QVERIFY(load(profiles, QByteArray(qualities) + "<save_as><g des='A'>" +
                                   plainItem(1, "first") + plainItem(2, "two") + "</g><g des='B'>" +
                                   plainItem(1, "last") + plainItem(1, "hidden") + fixed +
                                   "</g></save_as>"));
        QCOMPARE(options.outputFormat, 7);
        QCOMPARE(options.sourceQuality, 3);
        QVERIFY(!profiles.current());
        QVERIFY(!profiles.setOutputFormat(9));
        QVERIFY(profiles.setOutputFormat(1));
        QCOMPARE(options.outputFormat, 1);
        QCOMPARE(profiles.current()->display, QStringLiteral("last"));
        QCOMPARE(m_sandbox.logLines().constLast(), QStringLiteral("Output format:last"));
        QCOMPARE(profiles.displayName(1), QStringLiteral("first"));
        QCOMPARE(profiles.displayName(9), QString());
        QCOMPARE(profiles.itemById(0)->display, QStringLiteral("abc"));
        QVERIFY(profiles.itemById(0)->fixedSize && !profiles.itemById(1)->fixedSize);
        QVERIFY(!profiles.setSourceQuality(3) && !profiles.setSourceQuality(-1));
        QVERIFY(profiles.setSourceQuality(2));
        QCOMPARE(options.sourceQuality, 2);
    }

    void matchesQuality_data()
    {
        QTest::addColumn<QString>("streams");
        QTest::addColumn<int>("quality");
        QTest::addColumn<int>("stream");
        QTest::addColumn<QString>("logged");
        const char *three = "640x360 flv,640x360 mp4,1280x720 mp4";
        const char *a = "640x360";
        const char *b = "854x480";
        const char *c = "1x1";
        QTest::newRow("exact mp4 before exact flv") << three << 0 << 1 << a;
        QTest::newRow("nearest, tie by order") << three << 1 << 1 << b;
        QTest::newRow("largest") << three << 2 << 2 << c;
        QTest::newRow("past the end means largest") << three << 9 << 2 << c;
        QTest::newRow("negative means largest") << three << -2 << 2 << c;
        QTest::newRow("stored quality") << three << -1 << 1 << b;
        QTest::newRow("exact flv before near mp4") << "640x359 mp4,640x360 x-flv" << 0 << 1 << a;
        QTest::newRow("later exact one") << "640x360 mp4,640x360 mp4,640x360 webm" << 0 << 1 << a;
        QTest::newRow("exact even for largest") << "1280x720 mp4,1x1 mp4" << 2 << 1 << c;
        QTest::newRow("largest in both") << "640x720 mp4,1280x700 mp4,1300x700 mp4" << 2 << 2 << c;
        QTest::newRow("broken sizes") << "big mp4,12x3x4 mp4,700x mp4" << 0 << 2 << a;
        QTest::newRow("beyond all reason") << "1x2 webm,20000x2 mp4" << 0 << 0 << a;
        QTest::newRow("no known type") << "1x2 webm,640x360 MP4" << 0 << 0 << a;
        QTest::newRow("no stream") << "" << 0 << 0 << a;
        QTest::newRow("no quality means largest") << " mp4,640x360 mp4, mp4" << 0 << 1 << "";
    }

    void matchesQuality()
    {
        QFETCH(QString, streams);
        QFETCH(int, quality);
        QFETCH(QString, logged);
        QVector<VideoStream> list;
        for (const QString &text : streams.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
            VideoStream entry;
            entry.dimension = text.section(QLatin1Char(' '), 0, 0);
            entry.type = text.section(QLatin1Char(' '), 1);
            list.append(entry);
        }
        OutputProfileManager profiles;
        QVERIFY(load(profiles, logged.isEmpty() ? "" : qualities));
        Options::instance()->sourceQuality = 1;
        QTEST(profiles.matchQuality(list, quality), "stream");
        QCOMPARE(m_sandbox.logLines().constLast(), QStringLiteral("Match:") + logged);
    }

    void fitsFrames_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("argument");
        const char *const rows[][3] = {
            {"640x360", "320x240", "320x180 -padtop 30 -padbottom 30 -padcolor 0x000000"},
            {"1280x720", "640x480", "640x360 -padtop 60 -padbottom 60 -padcolor 0x000000"},
            {"640x360", "176x144", "176x98 -padtop 22 -padbottom 24 -padcolor 0x000000"},
            {"1920x1080", "720x480", "720x404 -padtop 38 -padbottom 38 -padcolor 0x000000"},
            {"640x480", "480x272", "362x272 -padleft 58 -padright 60 -padcolor 0x000000"},
            {"720x480", "640x360", "540x360 -padleft 50 -padright 50 -padcolor 0x000000"},
            {"480x360", "320x240", "320x240"},
            {"641x360", "640x360", "640x360"},
            {"160x90", "640x360", "640x360"},
            {"9000x1", "320x240", "320x2 -padtop 118 -padbottom 120 -padcolor 0x000000"},
            {"640x0", "320x240", "320x240"},
            {"?", "320x240", "320x240"},
            {"640x360", "320x-2", "320x-2"},
        };
        for (const auto &row : rows)
            QTest::addRow("%s to %s", row[0], row[1]) << row[0] << row[1] << row[2];
    }

    void fitsFrames()
    {
        QFETCH(QString, source);
        QFETCH(QString, target);
        QTEST(frameSizeArgument(source, target), "argument");
    }

    void buildsCommands_data()
    {
        QTest::addColumn<QByteArray>("format");
        QTest::addColumn<QString>("source");
        QTest::addColumn<bool>("device");
        QTest::addColumn<QString>("command"); // what stands for $size in it
        QTest::addColumn<QString>("name");    // of the output file
        QTest::addColumn<QString>("dimension");
        // The format's size, then its fixed_size.
        const char *box = "320x240' fixed_size='0";
        const char *fixed = "320x240' fixed_size='1";
        const char *free = "0x0' fixed_size='0";
        const char *padded = "320x180 -padtop 30 -padbottom 30 -padcolor 0x000000";
        const char *plain = "{G}.mp4";
        const struct
        {
            const char *name, *format, *source;
            bool device;
            const char *command, *file, *dimension;
        } rows[] = {
            {"too large", box, "640x360", false, padded, plain, "320x240"},
            {"device name", box, "640x360", true, padded, "{G} - Pho ne_(320x240).mp4", "320x240"},
            {"fits", box, "320x180", false, "320x180", plain, "320x180"},
            {"fixed enlarges", fixed, "160x90", false, padded, plain, "320x240"},
            {"no bound", "0x9' fixed_size='1", "640x360", false, "640x360", plain, "640x360"},
            {"fixed, unknown", fixed, "", false, "320x240", plain, "320x240"},
            {"box, no height", box, "640x0", false, "320x240", plain, "320x240"},
            {"box, unreadable", box, "large", false, "large", plain, "large"},
            {"free, unknown", free, "", true, "0x0", "{G} - Pho ne_().mp4", ""},
            {"options", free, "1x1 -y /x", true, "0x0", "{G} - Pho ne_(1x1 -y _x).mp4",
             "1x1 -y /x"},
            {"inserted text", free, "$output", false, "$output", plain, "$output"},
        };
        for (const auto &row : rows) {
            QTest::newRow(row.name) << QByteArray(row.format) << row.source << row.device
                                    << row.command << row.file << row.dimension;
        }
    }

    void buildsCommands()
    {
        QFETCH(QByteArray, format);
        QFETCH(QString, source);
        QFETCH(bool, device);
        QFETCH(QString, command);
        QFETCH(QString, name);
        const QByteArray rest =
            "value='-i $input $size $output $SIZE $outputs' ext='mp4' display='Pho\\ne/' size='";
        const QByteArray items = item(5, rest + format + "'") + item(0, rest + format + "'");
        OutputProfileManager profiles;
        QVERIFY(load(profiles, "<save_as><g des='G'>" + items + "</g></save_as>"));
        Options::instance()->appendDeviceName = device;
        JobData job;
        job.guid = QStringLiteral("{G}");
        job.video_dimension = source;
        QVERIFY(!profiles.createEncoder(job));
        job.output_format = 6;
        QVERIFY(!profiles.createEncoder(job));
        QCOMPARE(job.output_name, QString());
        job.output_format = 5;
        const int before = m_sandbox.logLines().size();
        QVERIFY(profiles.createEncoder(job));
        const QString output = Options::instance()->outputFolder + name;
        QCOMPARE(job.output_name, output);
        QTEST(job.output_demision, "dimension");
        QCOMPARE(job.outputFormatName, profiles.displayName(5));
        QStringList logged = m_sandbox.logLines().mid(before);
        QCOMPARE(
            logged.takeLast(),
            QStringLiteral("Command Line:-i \"-\" %1 \"%2\" $SIZE \"%2\"s").arg(command, output));
        const bool known = QRegExp(QStringLiteral("[0-9]+x[1-9][0-9]+")).exactMatch(source);
        const QString unknown = QStringLiteral("Convert:Unknown frame size(%1), no padding.");
        QCOMPARE(logged, known ? QStringList() : QStringList{unknown.arg(source)});
    }

    void passesPathsIntact()
    {
        const QString folder = m_sandbox.path(QStringLiteral("the \"odd\"  $size\"/"));
        QVERIFY(QDir().mkpath(folder + QStringLiteral("encoder")));
        QVERIFY(QFile::copy(QStringLiteral(ENCODER_CHILD),
                            folder + QStringLiteral("encoder/ffmpeg.exe")));
        OutputProfileManager profiles;
        profiles.setProgramFolder(folder);
        const QByteArray name = QByteArray("\u65e5").repeated(100);
        QVERIFY(writeFile(folder + QStringLiteral("Profiles.xml"),
                          "<p><save_as><g des='G'>" +
                              item(3, "value='touch $output' ext='mp4' size='0x0' fixed_size='0' "
                                      "display='" +
                                          name + "'") +
                              "</g></save_as></p>"));
        QVERIFY(profiles.load());
        Options::instance()->outputFolder = folder;
        Options::instance()->appendDeviceName = true;
        JobData job;
        job.output_format = 3;
        job.video_dimension = QStringLiteral("640x360");
        const auto encoder = profiles.createEncoder(job);
        QSignalSpy finished(encoder.get(), &Encoder::convertFinished);
        QVERIFY(encoder->start());
        QTRY_COMPARE(finished.count(), 1);
        QCOMPARE(readFile(job.output_name), QByteArray("made"));
    }

private:
    bool load(OutputProfileManager &profiles, const QByteArray &body)
    {
        const QString path = m_sandbox.path(QStringLiteral("Profiles.xml"));
        return writeFile(path, "<profiles>" + body + "</profiles>") && profiles.load(path);
    }

    Sandbox &m_sandbox;
};

REELKEEPER_TEST_MAIN(OutputProfilesTest)
#include "tst_outputprofiles.moc"
