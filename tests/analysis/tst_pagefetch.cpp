#include "cookies.h"
#include "httpget.h"
#include "httpserver.h"
#include "pageanalysis.h"
#include "testmain.h"

#include <QSignalSpy>
#include <QThread>

class TestPageFetch : public QObject
{
    Q_OBJECT

public:
    explicit TestPageFetch(Sandbox &sandbox)
        : m_sandbox(sandbox)
    {
    }

private slots:
    void init()
    {
        m_server = std::make_unique<HttpServer>();
        QVERIFY(m_server->listen());
        HttpResponse silent;
        silent.stallBeforeHeaders = true;
        m_server->setResponse("/silent", silent);
        // /3 redirects to 2 and so on down to the page at /0.
        m_server->setHandler("/*", [](const HttpRequest &request) {
            const int left = request.path.mid(1).toInt();
            if (left == 0)
                return HttpResponse::text("page");
            HttpResponse response = HttpResponse::redirect(QByteArray::number(left - 1));
            response.body = "moved from " + QByteArray::number(left);
            return response;
        });
    }

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
            {"<head><meta charset=koi8-r\"</head>\xD0\x9F", "", "П"},
            {"<HEAD><meta charset=windows-1251\"></HEAD>\xD0\x9F", "", "П"},
            {"<head lang=ru><meta charset=windows-1251\"></head>\xD0\x9F", "", "П"},
            {"</head><head><meta charset=windows-1251\">\xD0\x9F", "", "П"},
            {"<head><meta charset=no-such\"></head>\xC4", "", "Ä"},
            {"<head><meta charset=koi8-r\"></head>\xCF", "windows-1251", "П"},
            {"<head><meta charset=windows-1251\"></head>\xCF", "no-such", "П"},
            {"\xD0\x9F", "no-such", "П"},
        };
        for (const auto &row : cases) {
            m_server->setResponse("/", HttpResponse::text(row.page));
            HttpGet fetcher;
            fetcher.setCodecName(QString::fromLatin1(row.forced));
            const QString text = fetcher.get(url("/"));
            QVERIFY2(text.right(1) == QString::fromUtf8(row.expected), row.page);
        }
    }

    void followsTenRedirectsInAll()
    {
        HttpGet fetcher;
        QSignalSpy finished(&fetcher, &HttpGet::sigFinished);
        QCOMPARE(fetcher.get(url("/3")), QStringLiteral("page"));
        QCOMPARE(finished.size(), 1);
        const QList<HttpRequest> requests = m_server->requests();
        QVERIFY(requests.at(0).header("Referer").isNull());
        QCOMPARE(requests.at(1).header("Referer"), url("/3").toEncoded());
        QVERIFY(requests.at(0).header("User-Agent").endsWith("ChromePlus/1.4.2.0"));
        QCOMPARE(fetcher.get(url("/9")), QStringLiteral("moved from 2"));
        QCOMPARE(finished.size(), 2);
        QCOMPARE(HttpGet().get(url("/10")), QStringLiteral("page"));
        QCOMPARE(HttpGet().get(url("/11")), QStringLiteral("moved from 1"));
        HttpGet staying;
        staying.setFollowRedirects(false);
        QCOMPARE(staying.get(url("/1")), QStringLiteral("moved from 1"));
    }

    void doesNotReadFilesOfThisComputer()
    {
        const QString secret = m_sandbox.path(QStringLiteral("secret"));
        QVERIFY(writeFile(secret, "secret"));
        m_server->setResponse("/", HttpResponse::redirect(QUrl::fromLocalFile(secret).toEncoded()));
        QVERIFY(!HttpGet().get(url("/")).contains(QStringLiteral("secret")));
    }

    void failureIsEmptyText()
    {
        HttpResponse cut = HttpResponse::text("<html>a page</html>");
        cut.cutAfter = 8;
        m_server->setResponse("/cut", cut);
        m_server->setResponse("/404", HttpResponse::error(404, "a page"));
        m_server->setResponse("/500", HttpResponse::error(500, "a page"));
        HttpServer gone;
        QVERIFY(gone.listen());
        const QUrl refused(gone.url());
        gone.close();
        for (const QUrl &address :
             {url("/404"), url("/500"), url("/cut"), url("/silent"), refused}) {
            HttpGet fetcher;
            fetcher.setTransferTimeout(300);
            QSignalSpy finished(&fetcher, &HttpGet::sigFinished);
            QCOMPARE(fetcher.get(address), QString());
            QCOMPARE(finished.value(0).value(0).toInt(), 0);
            QCOMPARE(finished.size(), 1);
        }
    }

    void endsWithItsThread()
    {
        QThread thread;
        QObject context;
        context.moveToThread(&thread);
        thread.start();
        QMetaObject::invokeMethod(&context, [this] {
            HttpGet fetcher;
            PageAnalysis::fetch(fetcher, url("/silent"));
        });
        QTRY_COMPARE(m_server->requests().size(), 1);
        thread.requestInterruption();
        thread.quit();
        QVERIFY(thread.wait(5000));
        QCOMPARE(m_server->requests().size(), 1);
    }

    void cookiesOnOneLine()
    {
        static const struct
        {
            int status;
            QList<QByteArray> sent;
            const char *expected;
        } cases[] = {
            {200, {}, ""},
            {200, {"a=1; path=/; HttpOnly"}, "a=1; path=/; HttpOnly"},
            {200, {"a=1; path=/", "b=2", "c=3;Secure"}, "a=1; b=2; c=3"},
            {302, {"a=1"}, "a=1"},
            {404, {"a=1"}, ""},
        };
        for (const auto &row : cases) {
            m_server->clearRequests();
            HttpResponse response = HttpResponse::redirect("/0", row.status);
            response.body = QByteArray(100000, 'x');
            for (const QByteArray &cookie : row.sent)
                response.headers.append({"Set-Cookie", cookie});
            m_server->setResponse("/", response);
            QCOMPARE(Cookies().start(m_server->url()), QString::fromLatin1(row.expected));
            QCOMPARE(m_server->requests().size(), 1);
        }
        Cookies waiting;
        waiting.setTransferTimeout(300);
        QCOMPARE(waiting.start(url("/silent").toString()), QString());
    }

private:
    QUrl url(const char *path) const { return QUrl(m_server->url(QString::fromLatin1(path))); }

    Sandbox &m_sandbox;
    std::unique_ptr<HttpServer> m_server;
};

REELKEEPER_TEST_MAIN(TestPageFetch)
#include "tst_pagefetch.moc"
