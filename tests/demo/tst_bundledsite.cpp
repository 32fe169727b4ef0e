#include "cjslib.h"
#include "demosite.h"
#include "demovideos.h"
#include "httpget.h"
#include "pageanalysis.h"
#include "siteprofile.h"
#include "testmain.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>

namespace {
const QString scriptSource = QStringLiteral(SITE_SCRIPTS);
const QStringList siteScripts = {QStringLiteral("127.0.0.1"), QStringLiteral("youtube.com")};

QByteArray playerWith(const QByteArray &formats, const QByteArray &more = QByteArray())
{
    return "{\"playabilityStatus\":{\"status\":\"OK\"},\"streamingData\":{\"formats\":" + formats +
           '}' + more + '}';
}

QByteArray format(const QByteArray &more)
{
    return "[{\"width\":640,\"height\":360,\"mimeType\":\"video/mp4\"," + more + "}]";
}

QByteArray scriptElement(const QByteArray &player)
{
    return "<script>var ytInitialPlayerResponse = " + player + ";</script>";
}
} // namespace

// The site on this machine and the site scripts it publishes, tried on each other.
class TestBundledSite final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(TestBundledSite)

public:
    explicit TestBundledSite(Sandbox &sandbox)
        : m_sandbox(sandbox)
    {
    }

private slots:
    void initTestCase();
    void updateDeliversTheScripts();
    void everyVideoIsRead_data();
    void everyVideoIsRead();
    void unknownVideoIsAnError();
    void damagedPages_data();
    void damagedPages();
    void oddPages_data();
    void oddPages();
    void largePageIsQuick();
    void streams_data();
    void streams();
    void indexPlace();

private:
    VideoInfo parsed(const QString &script, const QByteArray &page) const
    {
        return m_scriptHost.parsePage(QStringLiteral("page"), QString::fromUtf8(page),
                                      scriptSource + script);
    }

    Sandbox &m_sandbox;
    CJSLib m_scriptHost;
    const QString m_media =
        QCoreApplication::applicationDirPath() + QStringLiteral("/samples/bundled-site/");
    DemoSite m_site{m_media, scriptSource, 0};
};

void TestBundledSite::initTestCase()
{
    m_sandbox.loadOptions();
    QCOMPARE(makeDemoVideos(m_media), QString());
    QVERIFY(m_site.listen(0));
}

void TestBundledSite::updateDeliversTheScripts()
{
    HttpGet get;
    const QString manifest = m_sandbox.path(QStringLiteral("Profile.xml"));
    writeFile(manifest,
              get.get(QUrl(m_site.url(QStringLiteral("/reelkeeper/Profile.xml")))).toUtf8());
    SiteProfile profile;
    QVERIFY(profile.load(manifest) > 0);
    QVERIFY(profile.downloadScripts(m_sandbox.scriptFolder()));

    int size = 0;
    const QStringList names = QDir(scriptSource).entryList(QDir::Files);
    for (const QString &name : names) {
        if (name == QLatin1String("Profile.xml"))
            continue;
        const QByteArray published = readFile(scriptSource + name);
        QCOMPARE(readFile(m_sandbox.scriptFolder() + name), published);
        size += published.size();
    }
    QVERIFY2(profile.size == size, "a script changed: set size, and a new version, in Profile.xml");
}

void TestBundledSite::everyVideoIsRead_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<int>("index");
    for (const QString &script : siteScripts) {
        for (int i = 0; i < demoVideos().size(); ++i)
            QTest::addRow("%s %s", qPrintable(script), qPrintable(demoVideos().at(i).id))
                << script << i;
    }
}

void TestBundledSite::everyVideoIsRead()
{
    QFETCH(QString, script);
    QFETCH(int, index);
    const DemoVideo &video = demoVideos().at(index);
    HttpGet get;
    const QString address =
        m_site.url(QStringLiteral("/watch?hl=en_US&v=%1&persist_hl=0").arg(video.id));
    const VideoInfo info = parsed(script, get.get(QUrl(address)).toUtf8());
    QCOMPARE(info.title, video.title);
    QCOMPARE(info.keyword, video.keywords.join(QStringLiteral(", ")));
    QCOMPARE(info.description, video.description);

    const QVector<VideoStream> streams = PageAnalysis::splitStreams(info.streamText);
    QCOMPARE(streams.size(), video.streams.size());
    for (int i = 0; i < streams.size(); ++i) {
        const DemoStream &offered = video.streams.at(i);
        QCOMPARE(streams.at(i).dimension,
                 QStringLiteral("%1x%2").arg(offered.width).arg(offered.height));
        QCOMPARE(streams.at(i).length, QString::number(video.seconds));
        QCOMPARE(streams.at(i).type, QFileInfo(offered.file).suffix());
        QCOMPARE(streams.at(i).videoAddress, m_site.url(QStringLiteral("/stream/")) + offered.file);
    }
}

void TestBundledSite::unknownVideoIsAnError()
{
    HttpGet get;
    const QByteArray page =
        get.get(QUrl(m_site.url(QStringLiteral("/watch?v=no-such-video")))).toUtf8();
    for (const QString &script : siteScripts)
        QCOMPARE(parsed(script, page).streamText,
                 QStringLiteral("$Error:not playable: Video unavailable"));
}

void TestBundledSite::damagedPages_data()
{
    const QByteArray good = playerWith(format("\"url\":\"http://h/v\""));
    QTest::addColumn<QByteArray>("page");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("no object") << QByteArray("<html><script>var a = 1;</script></html>");
    QTest::newRow("cut short") << scriptElement(good).left(90);
    QTest::newRow("cut in a string") << scriptElement("{\"a\":\"b\\");
    QTest::newRow("script tag never ends") << QByteArray("<script ytInitialPlayerResponse = {}");
    QTest::newRow("not JSON") << scriptElement("{a: alert}");
    QTest::newRow("nests without end") << scriptElement("{\"a\":" + QByteArray(1000000, '['));
    QTest::newRow("nests deeply") << scriptElement("{\"a\":" + QByteArray(1000000, '[') +
                                                   QByteArray(1000000, ']') + '}');
    QTest::newRow("outside of scripts") << "<p>ytInitialPlayerResponse = " + good + "</p>";
    QTest::newRow("no formats") << scriptElement("{\"streamingData\":null}");
    QTest::newRow("no list") << scriptElement(playerWith("{\"length\":1000000000}"));
    QTest::newRow("odd formats") << scriptElement(playerWith("[null,1,\"a\",[],{}]"));
    QTest::newRow("texts are objects") << scriptElement(playerWith(
        format("\"url\":\"http://h/v\"").replace("640", "{\"valueOf\":1,\"toString\":1}")));
    QTest::newRow("no address") << scriptElement(playerWith(format("\"itag\":18")));
    QTest::newRow("cipher") << scriptElement(
        playerWith(format("\"url\":\"http://h/v\",\"signatureCipher\":\"s=1\"")));
    QTest::newRow("other scheme") << scriptElement(playerWith(format("\"url\":\"ftp://h/v\"")));
    QTest::newRow("sound only") << scriptElement(
        playerWith(format("\"url\":\"http://h/v\"").replace("video/", "audio/")));
    QTest::newRow("adaptive only")
        << scriptElement(playerWith("[]").replace("formats", "adaptiveFormats"));
}

void TestBundledSite::damagedPages()
{
    QFETCH(QByteArray, page);
    for (const QString &script : siteScripts) {
        const VideoInfo info = parsed(script, page);
        QVERIFY2(info.streamText.startsWith(QLatin1String("$Error:")),
                 qPrintable(info.streamText.left(200)));
        QCOMPARE(info.title + info.keyword + info.description, QString());
    }
}

void TestBundledSite::oddPages_data()
{
    QTest::addColumn<QByteArray>("page");
    QTest::addColumn<QString>("streamText");
    const QByteArray good = playerWith(format("\"url\":\"http://h/v\""));
    const QString expected = QStringLiteral("640x360$$$mp4|http://h/v");
    QTest::newRow("member of window")
        << "<script nonce=\"x\">window[\"ytInitialPlayerResponse\"]=" + good + ";</script>"
        << expected;
    QTest::newRow("other assignments first")
        << "<script>// ytInitialPlayerResponse = {\"...\nvar ytInitialPlayerResponse = {}; "
           "ytInitialPlayerResponse = " +
               good + ";</script>"
        << expected;
    QTest::newRow("separators")
        << scriptElement(
               playerWith(format("\"qualityLabel\":\"3|6$0p\",\"url\":\"http://h/v?a=$1|2\""),
                          ",\"videoDetails\":{\"lengthSeconds\":\"1|2\"}"))
        << QStringLiteral("640x360$$360p$mp4|http://h/v?a=$1%7C2");
    QTest::newRow("one of two") << scriptElement(
                                       playerWith("[{\"cipher\":\"s\"}," +
                                                  format("\"url\":\"http://h/v\"").mid(1)))
                                << expected;
    QTest::newRow("https") << scriptElement(playerWith(format("\"url\":\"https://h/v\"")))
                           << expected;
}

void TestBundledSite::oddPages()
{
    QFETCH(QByteArray, page);
    QFETCH(QString, streamText);
    QCOMPARE(parsed(siteScripts.last(), page).streamText, streamText);
}

void TestBundledSite::largePageIsQuick()
{
    QByteArray big = ",\"big\":[";
    while (big.size() < 1000000)
        big += "{\"text\":\"a \\\"quoted\\\" word and a } brace\"},";
    const QByteArray page =
        QByteArray("<script>var a = {};</script>").repeated(3000) +
        scriptElement(playerWith(format("\"url\":\"http://h/v\""), big + "{}]"));
    QElapsedTimer clock;
    clock.start();
    const VideoInfo info = parsed(siteScripts.first(), page);
    QCOMPARE(info.streamText, QStringLiteral("640x360$$$mp4|http://h/v"));
    QVERIFY2(clock.elapsed() < 3000, qPrintable(QString::number(clock.elapsed())));
}

void TestBundledSite::streams_data()
{
    QTest::addColumn<QByteArray>("range");
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("count"); // -1: to the end
    QTest::newRow("whole") << QByteArray() << 200 << 0 << -1;
    QTest::newRow("resumed") << QByteArray("bytes=300001-") << 206 << 300001 << -1;
    QTest::newRow("part") << QByteArray("bytes=7-262150") << 206 << 7 << 262144;
}

void TestBundledSite::streams()
{
    QFETCH(QByteArray, range);
    QFETCH(int, status);
    QFETCH(int, from);
    QFETCH(int, count);
    for (const DemoStream &stream : demoVideos().first().streams) {
        QNetworkAccessManager manager;
        QNetworkRequest request(QUrl(m_site.url(QStringLiteral("/stream/")) + stream.file));
        if (!range.isEmpty())
            request.setRawHeader("Range", range);
        const std::unique_ptr<QNetworkReply> reply(manager.get(request));
        QTRY_VERIFY(reply->isFinished());
        QCOMPARE(reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), status);
        QCOMPARE(reply->rawHeader("Content-Type"), stream.contentType);
        QVERIFY(reply->readAll() == readFile(m_media + stream.file).mid(from, count));
    }
}

void TestBundledSite::indexPlace()
{
    for (const DemoVideo &video : demoVideos()) {
        const DemoStream &stream = video.streams.first();
        const QByteArray bytes = readFile(m_media + stream.file);
        QVERIFY(bytes.contains("moov") && bytes.contains("mdat"));
        QCOMPARE(bytes.indexOf("moov") < bytes.indexOf("mdat"), stream.indexFirst);
    }
}

REELKEEPER_TEST_MAIN(TestBundledSite)
#include "tst_bundledsite.moc"
