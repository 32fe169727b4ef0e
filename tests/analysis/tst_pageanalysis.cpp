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

QStringList list(std::initializer_list<const char *> texts)
{
    QStringList result;
    for (const char *text : texts)
        result.append(QString::fromLatin1(text));
    return result;
}
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

    void split_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("expected");
        const QString one = QStringLiteral("1x2$9$e$mp4|http://a$b");
        const QString read = QStringLiteral("1x2,9,e,mp4,http://a$b");
        QTest::newRow("one") << one << QStringList{read};
        QTest::newRow("duplicates and doubled separators")
            << QStringLiteral("||%1||||%1").arg(one) << QStringList{read, read};
        QTest::newRow("five fields")
            << QString(QStringLiteral("1$2$3$4$5|u||") + one) << QStringList{read};
        QTest::newRow("two bars") << QString(one + QStringLiteral("||1$2$3$4|u|v"))
                                  << QStringList{read};
        QTest::newRow("blanks and empty fields stay")
            << "1x2 $$ $|u" << list({"1x2 ,, ,,http://u"});
        QTest::newRow("secure address")
            << "1$2$3$4|https://u" << list({"1,2,3,4,http://https://u"});
        QTest::newRow("no record") << "undefined" << QStringList();
    }
    void split()
    {
        QFETCH(QString, text);
        QStringList read;
        for (const VideoStream &s : PageAnalysis::splitStreams(text))
            read.append(QStringList({s.dimension, s.length, s.extra, s.type, s.videoAddress})
                            .join(QLatin1Char(',')));
        QTEST(read, "expected");
    }

    void analyse_data()
    {
        QTest::addColumn<QByteArray>("page");
        QTest::addColumn<int>("emptyAnswers");
        QTest::addColumn<int>("result");
        QTest::addColumn<QStringList>("log"); // after "Parse page:"
        const QByteArray page = "640x360$9$$mp4|u||320x240$9$$flv|v||640x360$9$$mp4|http://u";
        const QStringList streams =
            list({"Video:640x360  mp4", "Video:320x240  flv", "Video:640x360  mp4",
                  "Video URL Reaped:http://u", "Match:320x240", "Select: 320x240  flv"});
        const QStringList prefix = list({"Read page:%1"});
        const QStringList text{QStringLiteral("Parse resoult:") + QString::fromLatin1(page)};
        QTest::newRow("first answer") << page << 0 << 0 << prefix + text + streams;
        QTest::newRow("fifth answer") << page << 4 << 0 << prefix + text + streams;
        QTest::newRow("sixth answer") << page << 5 << 1 << list({"Can not get page:%1"});
        QTest::newRow("error marker") << QByteArray("$Error:640x360$9$$mp4|u") << 0 << 2
                                      << prefix + list({"Not contain video:%1"});
        QTest::newRow("malformed only")
            << QByteArray("a|b||c") << 0 << 2
            << prefix + list({"Parse resoult:a|b||c", "Not contain video:%1"});
    }
    void analyse()
    {
        QFETCH(QByteArray, page);
        QFETCH(int, emptyAnswers);
        QFETCH(QStringList, log);
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
        log.prepend(QStringLiteral("Parse page:%1"));
        log.prepend(QStringLiteral("Add page:%1"));
        QCOMPARE(m_sandbox.logLines(), log.replaceInStrings(QStringLiteral("%1"), url));
        if (result == PageAnalysis::Success) {
            QCOMPARE(info.pageUrl, url);
            QCOMPARE(info.streams.size(), 2);
            QCOMPARE(info.selectedStream, 1);
        }
    }

    void refusesWithoutAsking_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<int>("result");
        QTest::addColumn<QStringList>("log");
        QTest::newRow("no address") << "words" << -3 << QStringList();
        QTest::newRow("other host")
            << "www.other.test/1" << -1
            << list({"Add page:www.other.test/1", "Page not support: www.other.test/1"});
    }
    void refusesWithoutAsking()
    {
        QFETCH(QString, url);
        VideoInfo info;
        QTEST(PageAnalysis::analyse(url, &info), "result");
        QTEST(m_sandbox.logLines(), "log");
        QVERIFY(m_server.requests().isEmpty());
    }

private:
    Sandbox &m_sandbox;
    HttpServer m_server;
};

REELKEEPER_TEST_MAIN(TestPageAnalysis)
#include "tst_pageanalysis.moc"
