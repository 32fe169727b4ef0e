#include "cjslib.h"
#include "cookies.h"
#include "httpget.h"
#include "httpserver.h"
#include "literals.h"
#include "pageanalysis.h"
#include "pagetext.h"
#include "testmain.h"

#include <QDir>
#include <QThread>

// Pages are fetched and decoded, and read by the scripts of their sites.
class TestPages final : public QObject
{
    Q_OBJECT

public:
    explicit TestPages(Sandbox &sandbox)
        : m_sandbox(sandbox)
    {
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_server.listen());
        HttpResponse silent;
        silent.stallBeforeHeaders = true;
        m_server.setResponse("/silent", silent);
        // /3 redirects to 2 and so on down to the page at /0.
        m_server.setHandler("/*", [](const HttpRequest &request) {
            const int left = request.path.mid(1).toInt();
            return left == 0 ? HttpResponse::text("page")
                             : HttpResponse::redirect(QByteArray::number(left - 1));
        });
    }
    void init()
    {
        m_server.clearRequests();
        QVERIFY(QDir(m_sandbox.scriptFolder()).removeRecursively());
        QVERIFY(QDir().mkpath(m_sandbox.scriptFolder()));
    }

    void decodesByDeclaredCharset()
    {
        static const struct
        {
            QByteArray page;
            const char *expected;
        } cases[] = {
            {"<head></head>\xD0\x9F", "П"},
            {"<head><meta content=\"a; charset=windows-1251\"></head>\xCF", "П"},
            {"<head><meta charset=\"windows-1251\"></head>\xD0\x9F", "П"},
            {"<head><meta charset='koi8-r'><meta charset=windows-1251\"></head>\xCF", "П"},
            {"</head><head><meta charset=windows-1251\">\xD0\x9F", "П"},
            {"<head><meta charset=no-such\"></head>\xC4", "Ä"},
            {"<head>" + QByteArray("<meta ").repeated(2000000) + "></head>\xD0\x9F", "П"},
        };
        for (const auto &row : cases)
            QVERIFY2(decodePage(row.page, QString()).right(1) == QString::fromUtf8(row.expected),
                     row.page);
    }

    void followsTenRedirects()
    {
        QUrl first = url("/10");
        first.setUserInfo("me:secret"_q);
        first.setFragment("part"_q);
        QCOMPARE(HttpGet().get(first), "page"_q);
        QVERIFY(m_server.requests("/10").first().header("Referer").isNull());
        QCOMPARE(m_server.requests("/9").first().header("Referer"), url("/10").toEncoded());
        HttpGet().get(url("/11"));
        QVERIFY(m_server.requests("/1").size() == 2 && m_server.requests("/0").size() == 1);
    }

    void failureIsEmptyText()
    {
        HttpResponse cut = HttpResponse::text("<html>a page</html>");
        cut.cutAfter = 8;
        m_server.setResponse("/cut", cut);
        m_server.setResponse("/404", HttpResponse::error(404, "a page"));
        m_server.setResponse("/local", HttpResponse::redirect("file:///etc/passwd"));
        HttpServer gone;
        QVERIFY(gone.listen());
        const QUrl refused(gone.url());
        gone.close();
        for (const QUrl &address :
             {url("/404"), url("/cut"), url("/silent"), url("/local"), refused}) {
            HttpGet fetcher(300);
            QSignalSpy finished(&fetcher, &HttpGet::sigFinished);
            QCOMPARE(fetcher.get(address), QString());
            QCOMPARE(finished.size(), 1);
        }
    }

    void largePages()
    {
        HttpResponse page;
        page.generatedBytes = HttpGet::largestPage;
        m_server.setResponse("/large", page);
        QVERIFY(!HttpGet().get(url("/large")).isEmpty());
        page.stallAfter = page.generatedBytes + 1; // ends only for one who does not wait for more
        page.generatedBytes = 1024 * 1024 * 1024;
        m_server.setResponse("/large", page);
        QElapsedTimer waited;
        waited.start();
        QCOMPARE(HttpGet().get(url("/large")), QString());
        QVERIFY(waited.elapsed() < HttpGet::transferTimeout / 2);
    }

    // While its page is on the way, and while a script runs for ever. No box is shown there.
    void endsWithItsThread()
    {
        write("127.0.0.1", "alert('no box'); ({toString: function() { while (true) {} }})");
        CJSLib library;
        library.loadScripts(m_sandbox.scriptFolder());
        for (const char *path : {"/silent", "/0"}) {
            m_server.clearRequests();
            std::unique_ptr<QThread> thread(QThread::create([&] {
                VideoInfo info;
                PageAnalysis(library, nullptr, HttpGet::transferTimeout)
                    .read(url(path).toString(), &info);
            }));
            thread->start();
            QTRY_COMPARE(m_server.requests().size(), 1);
            QVERIFY(!thread->wait(200));
            thread->requestInterruption();
            thread->quit();
            QVERIFY(thread->wait(5000));
            QCOMPARE(m_server.requests().size(), 1);
        }
    }

    void cookiesOnOneLine()
    {
        static const struct
        {
            int status;
            QList<QByteArray> sent;
            const char *expected;
        } cases[] = {
            {200, {"a=1; path=/; HttpOnly"}, "a=1; path=/; HttpOnly"},
            {200, {"a=1; path=/", "b=2", "c=3;Secure"}, "a=1; b=2; c=3"},
            {302, {"a=1"}, "a=1"},
            {404, {"a=1"}, ""},
        };
        for (const auto &row : cases) {
            HttpResponse response = HttpResponse::redirect("/0", row.status);
            for (const QByteArray &cookie : row.sent)
                response.headers.append({"Set-Cookie", cookie});
            m_server.setResponse("/", response);
            Cookies cookies;
            const QSignalSpy finished(&cookies, &Cookies::sigFinished);
            QCOMPARE(cookies.start(m_server.url()), QString::fromLatin1(row.expected));
            QCOMPARE(finished.at(0).at(0).toInt(), row.status == 404 ? 404 : 1);
        }
        HttpResponse large;
        large.headers = {{"Set-Cookie", "a=1"}};
        large.generatedBytes = 2 * HttpGet::largestPage;
        m_server.setResponse("/", large);
        QCOMPARE(Cookies().start(m_server.url()), QString());
    }

    void firstScriptNamedInTheHostMatches()
    {
        for (const char *name : {"sub_1/deep/q", "b.test", "video", "b.test_title", "half_temp"})
            write(name, "1");
        QVERIFY(QFile::link(m_sandbox.scriptFolder(), file("sub_1/loop")));
        CJSLib library;
        library.loadScripts(m_sandbox.scriptFolder());
        QStringList paths;
        for (const SiteScript &script : library.scripts())
            paths += script.path.mid(m_sandbox.scriptFolder().size());
        QCOMPARE(paths.join(QLatin1Char(' ')), "sub_1/deep/q b.test video"_q);
        QCOMPARE(library.matchHost("www.video.b.test"_q)->name, "b.test"_q);
        QCOMPARE(library.matchHost("www.video.c.test"_q)->name, "video"_q);
        QVERIFY(!library.matchHost("other.host"_q));
    }

    void scriptResult()
    {
        static const struct
        {
            QByteArray script;
            const char *expected;
        } cases[] = {
            {"typeof strWebBuffer + strWebBuffer.toString()", "objectthe page"},
            {"var a = 1; a + 1; if (a) 'x&amp;'; else 'y'", "x&amp;"},
            {"throw new Error('broken')", "Error: broken"},
            {"alert('to nobody')", "0"},
            {"[typeof print, typeof gc, typeof version].join()", "undefined,undefined,undefined"},
            {QByteArray("\xFF\xFE'\0\x1F\x04'\0", 8), "П"},
        };
        for (const auto &row : cases) {
            write("site", row.script);
            QCOMPARE(parse().streamText, QString::fromUtf8(row.expected));
        }
    }

    void companionScripts()
    {
        write("site", "var seen = '&amp;lt;Fish&gt; &amp; &quot;Chips&#39;'");
        write("site_title", "seen");
        write("site_description", "seen = undeclared");
        const VideoInfo info = parse();
        QCOMPARE(info.title, "<Fish> & \"Chips'"_q);
        QCOMPARE(info.keyword, "undefined"_q);
        QVERIFY(info.description.startsWith("ReferenceError: "_q));
        write("site", "typeof seen");
        QCOMPARE(parse().streamText, "undefined"_q);
    }

private:
    QUrl url(const char *path) const { return QUrl(m_server.url(QString::fromLatin1(path))); }

    QString file(const char *name) const
    {
        return m_sandbox.scriptFolder() + QString::fromLatin1(name);
    }
    void write(const char *name, const QByteArray &text) { QVERIFY(writeFile(file(name), text)); }
    VideoInfo parse() const { return CJSLib().parsePage("host"_q, "the page"_q, file("site")); }

    Sandbox &m_sandbox;
    HttpServer m_server;
};

REELKEEPER_TEST_MAIN(TestPages)
#include "tst_pages.moc"
