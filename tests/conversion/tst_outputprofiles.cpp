#include "encoder.h"
#include "encodercommand.h"
#include "jobdata.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "testmain.h"

static QByteArray item(int id, const char *rest)
{
    return "<i id='" + QByteArray::number(id) + "' " + rest + "/>";
}

// A format with nothing of note but its id and its name.
static QByteArray plainItem(int id, const char *display)
{
    return item(id, "value='' ext='mp4' size='0x0' fixed_size='0' display='")
        .replace("'/>", QByteArray("'") + display + "'/>");
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
    void loads_data();
    void loads();
    void looksUpFormats();
    void matchesQuality_data();
    void matchesQuality();
    void fitsFrames_data();
    void fitsFrames();
    void buildsCommands_data();
    void buildsCommands();
    void passesPathsIntact();

private:
    bool load(OutputProfileManager &profiles, const QByteArray &body)
    {
        const QString path = m_sandbox.path(QStringLiteral("Profiles.xml"));
        return writeFile(path, "<profiles>" + body + "</profiles>") && profiles.load(path);
    }

    Sandbox &m_sandbox;
};

void OutputProfilesTest::loads_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("failed"); // the element named in the log, "-" for none; empty: loads
    QTest::addColumn<QString>("names");  // the first format of each group that is there
    const QByteArray group = "<g des='G'>" + plainItem(1, "one") + "</g>";
    const QByteArray saveAs = "<save_as>" + group + "</save_as>";
    const QByteArray item = plainItem(1, "one");
    const QByteArray quality = "<video_quality><q display='z' value='z'/></video_quality>";
    QTest::newRow("empty") << QByteArray("") << ""
                           << "";
    QTest::newRow("comments outside") << "<!-- c -->" + saveAs + "<x/>"
                                      << ""
                                      << "one";
    QTest::newRow("two save_as add up") << saveAs + saveAs << ""
                                        << "one,one";
    QTest::newRow("the last qualities hold") << quality + qualities << ""
                                             << "";
    QTest::newRow("comment in save_as") << QByteArray("<save_as><!-- c --></save_as>") << "save_as"
                                        << "";
    QTest::newRow("comment in group") << "<save_as><g des='G'><!-- c -->" + item + "</g></save_as>"
                                      << "save_as"
                                      << "";
    QTest::newRow("empty save_as") << QByteArray("<save_as/>") << "save_as"
                                   << "";
    QTest::newRow("empty group") << "<save_as>" + group + "<g des='G'/></save_as>"
                                 << "save_as"
                                 << "one";
    QTest::newRow("no heading") << "<save_as><g>" + item + "</g></save_as>"
                                << "save_as"
                                << "";
    for (const char *name : {" id=", " display=", " value=", " ext=", " size=", " fixed_size="})
        QTest::newRow(name) << QByteArray(saveAs).replace(name, " x=") << "save_as"
                            << "";
    QTest::newRow("no quality") << QByteArray("<video_quality/>") << "video_quality"
                                << "";
    for (const char *name : {"value=", "display="})
        QTest::newRow(name) << QByteArray(quality).replace(name, "x=") << "video_quality"
                            << "";
    QTest::newRow("malformed") << QByteArray("<save_as>") << "-"
                               << "";
}

void OutputProfilesTest::loads()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, failed);
    OutputProfileManager profiles;
    const int before = m_sandbox.logLines().size();
    QCOMPARE(load(profiles, body), failed.isEmpty());
    const QString log = m_sandbox.logLines().mid(before).join(QLatin1Char(','));
    QCOMPARE(log,
             failed.size() < 2 ? QString() : QStringLiteral("Failed:Load profile item ") + failed);
    QStringList found;
    for (const auto &group : profiles.groups())
        found.append(group->items.front()->display);
    QTEST(found.join(QLatin1Char(',')), "names");
    if (body.endsWith(qualities)) {
        QCOMPARE(profiles.qualities().size(), 3);
        QCOMPARE(profiles.qualities().first().value, QStringLiteral("640x360"));
    }
}

void OutputProfilesTest::looksUpFormats()
{
    OutputProfileManager profiles;
    QVERIFY(!profiles.load(m_sandbox.path(QStringLiteral("missing.xml"))));
    Options &options = *Options::instance();
    options.outputFormat = 7;
    options.sourceQuality = 3;
    const char *fixed = "<i id='abc' display='abc' value='' ext='' size='' fixed_size='1'/>";
    QVERIFY(load(profiles, QByteArray(qualities) + "<save_as><g des='A'>" + plainItem(1, "first") +
                               plainItem(2, "two") + "</g><g des='B'>" + plainItem(1, "last") +
                               plainItem(1, "hidden") + fixed + "</g></save_as>"));
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

void OutputProfilesTest::matchesQuality_data()
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
}

void OutputProfilesTest::matchesQuality()
{
    QFETCH(QString, streams);
    QFETCH(int, quality);
    QFETCH(int, stream);
    QFETCH(QString, logged);
    QVector<VideoStream> list;
    for (const QString &text : streams.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        VideoStream entry;
        entry.dimension = text.section(QLatin1Char(' '), 0, 0);
        entry.type = text.section(QLatin1Char(' '), 1);
        list.append(entry);
    }
    OutputProfileManager profiles;
    QVERIFY(load(profiles, qualities));
    Options::instance()->sourceQuality = 1;
    QCOMPARE(profiles.matchQuality(list, quality), stream);
    QCOMPARE(m_sandbox.logLines().constLast(), QStringLiteral("Match:") + logged);

    OutputProfileManager empty;
    QVERIFY(empty.matchQuality(list, quality) <= list.size());
    QCOMPARE(m_sandbox.logLines().constLast(), QStringLiteral("Match:"));
}

void OutputProfilesTest::fitsFrames_data()
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

void OutputProfilesTest::fitsFrames()
{
    QFETCH(QString, source);
    QFETCH(QString, target);
    QTEST(frameSizeArgument(source, target), "argument");
}

void OutputProfilesTest::buildsCommands_data()
{
    QTest::addColumn<QByteArray>("attributes");
    QTest::addColumn<QString>("source");
    QTest::addColumn<bool>("device");
    QTest::addColumn<QString>("command"); // OUT is the quoted output path
    QTest::addColumn<QString>("name");    // of the output file
    QTest::addColumn<QString>("dimension");
    const QByteArray rest = "value='$size' ext='mp4' display='Phone\\Player' ";
    const QByteArray box = rest + "size='320x240' fixed_size='0'";
    const QByteArray fixed = rest + "size='320x240' fixed_size='1'";
    const QByteArray free = rest + "size='0x0' fixed_size='0'";
    const char *padded = "320x180 -padtop 30 -padbottom 30 -padcolor 0x000000";
    const QString player = QStringLiteral("{G} - Phone Player(%1).mp4");
    const char *plain = "{G}.mp4";
    QTest::newRow("too large") << box << "640x360" << false << padded << plain << "320x240";
    QTest::newRow("device name") << box << "640x360" << true << padded
                                 << player.arg(QLatin1String("320x240")) << "320x240";
    QTest::newRow("fits") << box << "320x180" << false << "320x180" << plain << "320x180";
    QTest::newRow("fixed enlarges") << fixed << "160x90" << false << padded << plain << "320x240";
    QTest::newRow("fixed, no bound") << rest + "size='0x0' fixed_size='1'"
                                     << "640x360" << false << "640x360" << plain << "640x360";
    QTest::newRow("fixed, unknown") << fixed << "" << false << "320x240" << plain << "320x240";
    QTest::newRow("box, no height") << box << "640x0" << false << "320x240" << plain << "320x240";
    QTest::newRow("unreadable") << box << "large" << false << "large" << plain << "large";
    QTest::newRow("unknown") << free << "" << true << "0x0" << player.arg(QString()) << "";
    QTest::newRow("brings options") << free << "1x1 -y /x" << true << "0x0"
                                    << player.arg(QLatin1String("1x1 -y _x")) << "1x1 -y /x";
    QTest::newRow("all placeholders")
        << QByteArray("value='-i $input $output $SIZE $outputs' ext='avi' display='a/b' "
                      "size='0x0' fixed_size='0'")
        << "640x360" << true << "-i \"-\" OUT $SIZE OUTs"
        << "{G} - a_b(640x360).avi"
        << "640x360";
    QTest::newRow("inserted") << free << "$output" << false << "$output" << plain << "$output";
}

void OutputProfilesTest::buildsCommands()
{
    QFETCH(QByteArray, attributes);
    QFETCH(QString, source);
    QFETCH(bool, device);
    QFETCH(QString, command);
    QFETCH(QString, name);
    OutputProfileManager profiles;
    QVERIFY(load(profiles, "<save_as><g des='G'>" + item(5, attributes) + item(0, attributes) +
                               "</g></save_as>"));
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
    QCOMPARE(logged.takeLast(), QStringLiteral("Command Line:") +
                                    command.replace(QLatin1String("OUT"),
                                                    QLatin1Char('"') + output + QLatin1Char('"')));
    const bool unknown = source != QLatin1String("640x360") &&
                         !source.endsWith(QLatin1String("80")) && source != QLatin1String("160x90");
    QCOMPARE(logged, unknown ? QStringList{QStringLiteral("Convert:Unknown frame size(%1), no "
                                                          "padding.")
                                               .arg(source)}
                             : QStringList());
}

void OutputProfilesTest::passesPathsIntact()
{
    const QString folder = m_sandbox.path(QStringLiteral("the \"odd\"  $size\"/"));
    QVERIFY(QDir().mkpath(folder + QStringLiteral("encoder")));
    QVERIFY(
        QFile::copy(QStringLiteral(ENCODER_CHILD), folder + QStringLiteral("encoder/ffmpeg.exe")));
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

REELKEEPER_TEST_MAIN(OutputProfilesTest)
#include "tst_outputprofiles.moc"
