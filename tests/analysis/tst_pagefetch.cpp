#include "cookies.h"
#include "httpget.h"
#include "httpserver.h"
#include "literals.h"
#include "pageanalysis.h"
#include "testmain.h"

#include <QThread>

class TestPageFetch final : public QObject
{
    Q_OBJECT

public:
    explicit TestPageFetch(Sandbox &) {}

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
    void init() { m_server.clearRequests(); }

    void decodesByDeclaredCharset()
    {
        static const struct
        {
            const char *page;
            const char *forced;
            const char *expected;
        } cases[] = {
            {"<head></head>\xD0\x9F", "", "П"},
            {"<head><meta content=\"a; charset=windows-1251\"></head>\xCF", "", "П"},
            {"<head><meta charset=\"windows-1251\"></head>\xD0\x9F", "", "П"},
            {"<head><meta charset='koi8-r'><meta charset=windows-1251\"></head>\xCF", "", "П"},
            {"</head><head><meta charset=windows-1251\">\xD0\x9F", "", "П"},
            {"<head><meta charset=no-such\"></head>\xC4", "", "Ä"},
            {"<head><meta charset=koi8-r\"></head>\xCF", "windows-1251", "П"},
            {"<head><meta charset=windows-1251\"></head>\xCF", "no-such", "П"},
        };
        for (const auto &row : cases) {
            m_server.setResponse("/", HttpResponse::text(row.page));
            HttpGet fetcher;
            fetcher.setCodecName(QString::fromLatin1(row.forced));
            const QString text = fetcher.get(url("/"));
            QVERIFY2(text.right(1) == QString::fromUtf8(row.expected), row.page);
        }
    }

    void followsTenRedirects()
    {
        QCOMPARE(HttpGet().get(url("/10")), "page"_q);
        QVERIFY(m_server.requests("/10").first().header("Referer").isNull());
        QCOMPARE(m_server.requests("/9").first().header("Referer"), url("/10").toEncoded());
        HttpGet().get(url("/11"));
        QVERIFY(m_server.requests("/1").size() == 2 && m_server.requests("/0").size() == 1);
    }

    void doesNotReadFilesOfThisComputer()
    {
        m_server.setResponse("/", HttpResponse::redirect("file:///etc/passwd"));
        QVERIFY(!HttpGet().get(url("/")).contains("root"_q));
    }

    void failureIsEmptyText()
    {
        HttpResponse cut = HttpResponse::text("<html>a page</html>");
        cut.cutAfter = 8;
        m_server.setResponse("/cut", cut);
        m_server.setResponse("/404", HttpResponse::error(404, "a page"));
        HttpServer gone;
        QVERIFY(gone.listen());
        const QUrl refused(gone.url());
        gone.close();
        for (const QUrl &address : {url("/404"), url("/cut"), url("/silent"), refused}) {
            HttpGet fetcher;
            fetcher.setTransferTimeout(300);
            QSignalSpy finished(&fetcher, &HttpGet::sigFinished);
            QCOMPARE(fetcher.get(address), QString());
            QCOMPARE(finished.size(), 1);
        }
    }

    void endsWithItsThread()
    {
        std::unique_ptr<QThread> thread(QThread::create([this] {
            HttpGet fetcher;
            PageAnalysis::fetch(fetcher, url("/silent"));
        }));
        thread->start();
        QTRY_COMPARE(m_server.requests().size(), 1);
        thread->requestInterruption();
        thread->quit();
        QVERIFY(thread->wait(5000));
        QCOMPARE(m_server.requests().size(), 1);
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
            QCOMPARE(Cookies().start(m_server.url()), QString::fromLatin1(row.expected));
        }
    }

private:
    QUrl url(const char *path) const { return QUrl(m_server.url(QString::fromLatin1(path))); }

    HttpServer m_server;
};

REELKEEPER_TEST_MAIN(TestPageFetch)
#include "tst_pagefetch.moc"
