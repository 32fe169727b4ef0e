#include "cjslib.h"
#include "httpserver.h"
#include "logfile.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "pageanalysis.h"
#include "testmain.h"

#include <QDir>

namespace {
// The site's script hands the page over as its stream text.
const QByteArray echoScript = "strWebBuffer.toString()";
const QByteArray profiles =
    "<p><video_quality><q value='320x240' display='Low'/><q value='640x360' display='High'/>"
    "</video_quality><save_as><g des='g'><i id='0' display='As it is' value='' ext='' size='0x0' "
    "fixed_size='0'/></g></save_as></p>";
} // namespace

class TestPageAnalysis : public QObject
{
    Q_OBJECT

public:
    explicit TestPageAnalysis(Sandbox &sandbox)
        : m_sandbox(sandbox)
    {
    }

private slots:
    void initTestCase()
    {
        m_sandbox.loadOptions(true);
        QVERIFY(writeFile(m_sandbox.scriptFolder() + QStringLiteral("127.0.0.1"), echoScript));
        QVERIFY(writeFile(m_sandbox.path(QStringLiteral("Profiles.xml")), profiles));
        CJSLib::instance()->loadScripts();
        Options::instance()->sourceQuality = 0;
        QVERIFY(
            OutputProfileManager::instance()->load(m_sandbox.path(QStringLiteral("Profiles.xml"))));
        QVERIFY(m_server.listen());
    }
    void init()
    {
        m_server.clearRequests();
        LogFile::destroyInstance();
        for (const QFileInfo &log : QDir(QDir::tempPath()).entryInfoList({QStringLiteral("*.log")}))
            QVERIFY(QFile::remove(log.filePath()));
    }
    void cleanupTestCase()
    {
        OutputProfileManager::destroyInstance();
        CJSLib::destroyInstance();
        LogFile::destroyInstance();
    }

    void splitsRecords()
    {
        static const struct
        {
            const char *text;
            const char *expected;
        } cases[] = {
            {"1x2$9$e$mp4|http://a$b", "1x2,9,e,mp4,http://a$b;"},
            {"||1$2$3$4|u||||1$2$3$4|u", "1,2,3,4,http://u;1,2,3,4,http://u;"},
            {"1$2$3$4$5|u||1$2$3$4|u|v||1$2$3$4|w", "1,2,3,4,http://w;"},
            {"1x2 $$ $|https://u", "1x2 ,, ,,http://https://u;"},
            {"undefined", ""},
        };
        for (const auto &row : cases) {
            QString read;
            for (const VideoStream &s : PageAnalysis::splitStreams(QString::fromLatin1(row.text)))
                read += QStringList({s.dimension, s.length, s.extra, s.type, s.videoAddress})
                            .join(QLatin1Char(',')) +
                        QLatin1Char(';');
            QCOMPARE(read, QString::fromLatin1(row.expected));
        }
    }

    void analyses_data()
    {
        QTest::addColumn<QByteArray>("page");
        QTest::addColumn<int>("emptyAnswers");
        QTest::addColumn<int>("result");
        QTest::addColumn<QString>("log"); // after the first two lines, % is the address
        const QByteArray page = "640x360$9$$mp4|u||320x240$9$$flv|v||640x360$9$$mp4|http://u";
        const QString streams =
            QStringLiteral("Read page:%\nParse resoult:") + QString::fromLatin1(page) +
            QStringLiteral("\nVideo:640x360  mp4\nVideo:320x240  flv\nVideo:640x360  mp4\n"
                           "Video URL Reaped:http://u\nMatch:320x240\nSelect: 320x240  flv");
        QTest::newRow("first answer") << page << 0 << 0 << streams;
        QTest::newRow("fifth answer") << page << 4 << 0 << streams;
        QTest::newRow("sixth answer") << page << 5 << 1 << "Can not get page:%";
        QTest::newRow("error marker") << QByteArray("$Error:640x360$9$$mp4|u") << 0 << 2
                                      << "Read page:%\nNot contain video:%";
        QTest::newRow("malformed") << QByteArray("a|b||c") << 0 << 2
                                   << "Read page:%\nParse resoult:a|b||c\nNot contain video:%";
    }
    void analyses()
    {
        QFETCH(QByteArray, page);
        QFETCH(int, emptyAnswers);
        QFETCH(QString, log);
        QList<HttpResponse> answers;
        for (int i = 0; i < emptyAnswers; ++i)
            answers.append(HttpResponse::text(QByteArray()));
        m_server.setResponses("/w1/watch", answers << HttpResponse::text(page));
        const QString url = m_server.url(QStringLiteral("/w1/watch")).mid(7); // without a scheme
        VideoInfo info;
        info.streams.resize(3); // nothing of an earlier analysis may stay
        const int result = PageAnalysis::analyse(url, &info);
        QTEST(result, "result");
        QCOMPARE(m_server.requests().size(), qMin(emptyAnswers + 1, 5));
        log.prepend(QStringLiteral("Add page:%\nParse page:%\n"));
        QCOMPARE(logText(), log.replace(QLatin1Char('%'), url));
        if (result == PageAnalysis::Success) {
            QCOMPARE(info.pageUrl, url);
            QCOMPARE(info.streams.size(), 2);
            QCOMPARE(info.selectedStream, 1);
        }
    }

    void refusesWithoutAsking()
    {
        VideoInfo info;
        QCOMPARE(PageAnalysis::analyse(QStringLiteral("words"), &info), -3);
        QCOMPARE(logText(), QString());
        QCOMPARE(PageAnalysis::analyse(QStringLiteral("www.other.test/1"), &info), -1);
        QCOMPARE(logText(), QStringLiteral("Add page:www.other.test/1\n"
                                           "Page not support: www.other.test/1"));
    }

private:
    QString logText() const { return m_sandbox.logLines().join(QLatin1Char('\n')); }

    Sandbox &m_sandbox;
    HttpServer m_server;
};

REELKEEPER_TEST_MAIN(TestPageAnalysis)
#include "tst_pageanalysis.moc"
