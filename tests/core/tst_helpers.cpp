#include "appinfo.h"
#include "files.h"
#include "testmain.h"
#include "texts.h"

// The text, file-name and address helpers.
class TestHelpers final : public QObject
{
    Q_OBJECT

public:
    explicit TestHelpers(Sandbox &sandbox)
        : m_sandbox(sandbox)
    {
    }

private slots:
    void texts_data()
    {
        QTest::addColumn<QString>("actual");
        QTest::addColumn<QString>("expected");
        const auto text = [](const char *value) { return QString::fromUtf8(value); };
        const auto row = [](const char *name, const QString &actual, const char *expected) {
            QTest::newRow(name) << actual << QString::fromUtf8(expected);
        };
        row("negative size", formatSize(-1), "-1 B");
        row("last of the bytes", formatSize(1024), "1024 B");
        row("first kilobyte", formatSize(1025), "1.0 KB");
        row("last of the kilobytes", formatSize(1048576), "1024.0 KB");
        row("first megabyte", formatSize(1048577), "1.0 MB");
        row("last of the megabytes", formatSize(1073741824), "1024.0 MB");
        row("first gigabyte", formatSize(1073741825), "1.0 GB");
        row("beyond 32 bits", formatSize(Q_INT64_C(1) << 40), "1024.0 GB");
        const auto size = [text](const char *value) {
            const FrameSize frame = splitSize(text(value));
            return QStringLiteral("%1 by %2").arg(frame.width).arg(frame.height);
        };
        row("frame size", size("640x360"), "640 by 360");
        row("frame size in upper case", size("640X360"), "0 by 0");
        row("frame size of three parts", size("640x360x1"), "0 by 0");
        row("frame size with a unit", size("640x360p"), "640 by 0");
        row("no duration", formatDuration(0), "00:00");
        row("minute", formatDuration(61), "01:01");
        row("hour", formatDuration(3600), "01:00:00");
        row("hundred hours", formatDuration(360000), "100:00:00");
        row("prefix added", ensurePrefix(text("www.x"), text("http://")), "http://www.x");
        row("prefix kept", ensurePrefix(text("http://x"), text("http://")), "http://x");
        row("prefix in other case", ensurePrefix(text("HTTP://x"), text("http://")),
            "http://HTTP://x");
        row("insertion not searched", replaceAll(text("aba"), text("a"), text("aa")), "aabaa");
        row("nothing to replace", replaceAll(text("ab"), QString(), text("-")), "ab");
        row("decoded address", decodeUrl(text("http://h/a%20b?x=%C3%A9")), "http://h/a b?x=é");
        row("forbidden characters", sanitizeFileName(text("\\/:*?\"<>|'é") + QChar(0)),
            "__________é_");
        row("new name", renamedPath(text("/v/old.name.mp4"), text("new")), "/v/new.mp4");
        row("new name at the root", renamedPath(text("/old.mp4"), text("new")), "/new.mp4");
        row("new name without extension", renamedPath(text("/v/old"), text("new")), "/v/new.");
    }
    void texts()
    {
        QFETCH(QString, actual);
        QTEST(actual, "expected");
    }

    void addresses_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("looksLikeUrl");
        QTest::addColumn<bool>("supported");
        const auto row = [](const char *text, bool looksLikeUrl, bool supported) {
            QTest::newRow(text) << QString::fromUtf8(text) << looksLikeUrl << supported;
        };
        row("www.site.example/watch?v=1", true, true);
        row("http://www.site.example/watch?v=1", true, true);
        row("http://WWW.site.example:81/", true, true);
        row("https://www.site.example/watch?v=1", true, false);
        row("http://127.0.0.1:8438/watch?v=1", true, false);
        row("site.example/watch", false, false);
        row("https://host.com", false, false);
        row("http://www.site.example.evil.example/", true, false);
        row("words", false, false);
    }
    void addresses()
    {
        QFETCH(QString, text);
        qputenv("REELKEEPER_SITE_HOST", "www.Site.example");
        qputenv("REELKEEPER_UPDATE_HOST", "127.0.0.1:99");
        const AppInfo info;
        qunsetenv("REELKEEPER_SITE_HOST");
        qunsetenv("REELKEEPER_UPDATE_HOST");
        QTEST(isUrl(text), "looksLikeUrl");
        QTEST(info.isSupportedUrl(text), "supported");
        QCOMPARE(info.profileListUrl, QStringLiteral("http://127.0.0.1:99/reelkeeper/Profile.xml"));
        QVERIFY(!AppInfo().supportedHosts.contains(QStringLiteral("www.site.example")));
    }

    void longNamesFit_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("length"); // UTF-16 units that are left
        QTest::newRow("just fits") << QString(251, QLatin1Char('a')) << 251;
        QTest::newRow("one too many") << QString(252, QLatin1Char('a')) << 251;
        QTest::newRow("three bytes each") << QString(100, QChar(0x3042)) << 83;
        QTest::newRow("pairs") << QString::fromUtf8("\xF0\x9F\x8E\xAC").repeated(100) << 124;
        QTest::newRow("half a pair") << QString(QChar(0xD83C)) + QStringLiteral("a") << 2;
    }
    void longNamesFit()
    {
        QFETCH(QString, name);
        const QString fitting = fittingBaseName(name, QStringLiteral(".mp4"));
        QTEST(fitting.size(), "length");
        QVERIFY(name.startsWith(fitting));
        if (!name.at(0).isSurrogate())
            QVERIFY(writeFile(m_sandbox.path(fitting + QStringLiteral(".mp4")), "x"));
    }

    void folders()
    {
        const QString folder = m_sandbox.path(QStringLiteral("a/b/c/"));
        QVERIFY(!isFolderWritable(folder));
        QVERIFY(ensureDir(folder));
        QVERIFY(isFolderWritable(folder));
        QVERIFY(QDir(folder).isEmpty());
        QVERIFY(writeFile(folder + QStringLiteral("file"), "12345"));
        QCOMPARE(fileSize(folder + QStringLiteral("file")), qint64(5));
        QCOMPARE(fileSize(folder + QStringLiteral("missing")), qint64(0));
        QVERIFY(!ensureDir(folder + QStringLiteral("file/below")));
        QVERIFY(!ensureDir(QString()));
    }

private:
    Sandbox &m_sandbox;
};

REELKEEPER_TEST_MAIN(TestHelpers)
#include "tst_helpers.moc"
