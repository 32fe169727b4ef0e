#include "cookies.h"
#include "httpget.h"
#include "httpserver.h"
#include "pageanalysis.h"
#include "testmain.h"

#include <QSignalSpy>
#include <QThread>

namespace {
constexpr int shortTimeout = 300;

// Answers /0, /1, … with a relative redirect to the next number, and the last with a page.
HttpServer::Handler redirectChain(int redirects)
{
    return [redirects](const HttpRequest &request) {
        const int hop = request.path.mid(1).toInt();
        if (hop == redirects)
            return HttpResponse::text("page");
        HttpResponse response = HttpResponse::redirect(QByteArray::number(hop + 1));
        response.body = "moved from " + QByteArray::number(hop);
        return response;
    };
}
} // namespace

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
    }

    void decodesByDeclaredCharset_data()
    {
        QTest::addColumn<QByteArray>("head");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("forced");
        QTest::addColumn<QString>("expected");
        const QByteArray utf8 = "\xD0\x9F";
        const QByteArray cyrillic = "\xCF";
        const QString letter(QChar(0x41F));
        const QString none;
        const QByteArray meta = "<meta http-equiv=\"x\" content=\"text/html; charset=%1\">";
        const auto declared = [&](const char *name) {
            return "<head>" + QByteArray(meta).replace("%1", name) + "</head>";
        };
        QTest::newRow("nothing declared") << QByteArray("<head></head>") << utf8 << none << letter;
        QTest::newRow("declared") << declared("windows-1251") << cyrillic << none << letter;
        QTest::newRow("short form is empty")
            << QByteArray("<head><meta charset=\"windows-1251\"></head>") << utf8 << none << letter;
        QTest::newRow("single quotes go on to the next tag")
            << "<head><meta charset='koi8-r'>" + declared("windows-1251").mid(6) << cyrillic << none
            << letter;
        QTest::newRow("tag without end")
            << QByteArray("<head><meta charset=koi8-r\"</head>") << utf8 << none << letter;
        QTest::newRow("capitals") << declared("windows-1251").replace("<head>", "<HEAD>") << utf8
                                  << none << letter;
        QTest::newRow("head with attributes")
            << declared("windows-1251").replace("<head>", "<head lang=ru>") << utf8 << none
            << letter;
        QTest::newRow("end before start")
            << "</head>" + declared("windows-1251").left(80) << utf8 << none << letter;
        QTest::newRow("unknown") << declared("no-such-codec") << utf8 << none
                                 << QString::fromLatin1(utf8);
        QTest::newRow("forced wins")
            << declared("koi8-r") << cyrillic << QStringLiteral("windows-1251") << letter;
        QTest::newRow("forced unknown gives way")
            << declared("windows-1251") << cyrillic << QStringLiteral("no-such-codec") << letter;
        QTest::newRow("forced unknown alone")
            << QByteArray() << utf8 << QStringLiteral("no-such-codec") << letter;
    }
    void decodesByDeclaredCharset()
    {
        QFETCH(QByteArray, head);
        QFETCH(QByteArray, body);
        QFETCH(QString, forced);
        QFETCH(QString, expected);
        m_server->setResponse("/", HttpResponse::text(head + "<body>" + body));
        HttpGet fetcher;
        fetcher.setCodecName(forced);
        QCOMPARE(fetcher.get(url()).section(QStringLiteral("<body>"), 1), expected);
    }

    void followsTenRedirects_data()
    {
        QTest::addColumn<int>("redirects");
        QTest::addColumn<bool>("follow");
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        // The tenth redirect uses the limit up for the fetcher's whole life.
        QTest::newRow("three, twice") << 3 << true << "page"
                                      << "page";
        QTest::newRow("ten") << 10 << true << "page"
                             << "moved from 0";
        QTest::newRow("eleven") << 11 << true << "moved from 10"
                                << "moved from 0";
        QTest::newRow("switched off") << 1 << false << "moved from 0"
                                      << "moved from 0";
    }
    void followsTenRedirects()
    {
        QFETCH(int, redirects);
        QFETCH(bool, follow);
        m_server->setHandler("/*", redirectChain(redirects));
        HttpGet fetcher;
        fetcher.setFollowRedirects(follow);
        QSignalSpy finished(&fetcher, &HttpGet::sigFinished);
        QTEST(fetcher.get(url(QStringLiteral("/0"))), "first");
        QCOMPARE(finished.size(), 1);
        QTEST(fetcher.get(url(QStringLiteral("/0"))), "second");
        QCOMPARE(finished.size(), 2);
    }

    void namesItselfAndItsReferer()
    {
        m_server->setHandler("/*", redirectChain(1));
        HttpGet fetcher;
        fetcher.get(url(QStringLiteral("/0")));
        fetcher.get(url(QStringLiteral("/1")));
        const QList<HttpRequest> requests = m_server->requests();
        QCOMPARE(requests.size(), 3);
        QVERIFY(requests.at(0).header("Referer").isNull());
        QCOMPARE(requests.at(1).header("Referer"), m_server->url(QStringLiteral("/0")).toUtf8());
        QCOMPARE(requests.at(2).header("Referer"), m_server->url(QStringLiteral("/1")).toUtf8());
        QVERIFY(requests.at(0).header("User-Agent").endsWith("ChromePlus/1.4.2.0"));
    }

    void doesNotReadFilesOfThisComputer()
    {
        const QString secret = m_sandbox.path(QStringLiteral("secret"));
        QVERIFY(writeFile(secret, "secret"));
        m_server->setResponse("/", HttpResponse::redirect(QUrl::fromLocalFile(secret).toEncoded()));
        HttpGet fetcher;
        QVERIFY(!fetcher.get(url()).contains(QStringLiteral("secret")));
    }

    void failureIsEmptyText_data()
    {
        QTest::addColumn<int>("fault");
        QTest::newRow("404 with a page") << 0;
        QTest::newRow("500 with a page") << 1;
        QTest::newRow("cut short") << 2;
        QTest::newRow("no answer") << 3;
        QTest::newRow("stalls") << 4;
        QTest::newRow("refused") << 5;
    }
    void failureIsEmptyText()
    {
        QFETCH(int, fault);
        HttpResponse response = HttpResponse::text("<html>a page</html>");
        if (fault < 2)
            response.status = fault == 0 ? 404 : 500;
        if (fault == 2)
            response.cutAfter = 8;
        response.closeBeforeHeaders = fault == 3;
        if (fault == 4)
            response.stallAfter = 8;
        m_server->setResponse("/", response);
        const QUrl address = url();
        if (fault == 5)
            m_server->close();
        HttpGet fetcher;
        fetcher.setTransferTimeout(shortTimeout);
        QSignalSpy finished(&fetcher, &HttpGet::sigFinished);
        QCOMPARE(fetcher.get(address), QString());
        QCOMPARE(finished.size(), 1);
        QCOMPARE(finished.at(0).at(0).toInt(), 0);
    }

    void endsWithItsThread()
    {
        HttpResponse silent;
        silent.stallBeforeHeaders = true;
        m_server->setResponse("/", silent);
        QThread thread;
        QObject context;
        context.moveToThread(&thread);
        thread.start();
        QString text = QStringLiteral("unset");
        QMetaObject::invokeMethod(&context, [this, &text] {
            HttpGet fetcher;
            text = PageAnalysis::fetch(fetcher, url());
        });
        QTRY_COMPARE(m_server->requests().size(), 1);
        thread.requestInterruption();
        thread.quit();
        QVERIFY(thread.wait(5000));
        QCOMPARE(text, QString());
        QCOMPARE(m_server->requests().size(), 1);
    }

    void cookies_data()
    {
        QTest::addColumn<QList<QByteArray>>("sent");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("expected");
        using List = QList<QByteArray>;
        QTest::newRow("none") << List() << 200 << QString();
        QTest::newRow("one as it stands")
            << List{"a=1; path=/; HttpOnly"} << 200 << "a=1; path=/; HttpOnly";
        QTest::newRow("several on one line")
            << List{"a=1; path=/", "b=2", "c=3;Secure"} << 200 << "a=1; b=2; c=3";
        QTest::newRow("error") << List{"a=1"} << 404 << QString();
        QTest::newRow("redirect") << List{"a=1"} << 302 << "a=1";
    }
    void cookies()
    {
        QFETCH(QList<QByteArray>, sent);
        QFETCH(int, status);
        HttpResponse response = HttpResponse::redirect("/elsewhere", status);
        response.body = QByteArray(100000, 'x');
        for (const QByteArray &cookie : sent)
            response.headers.append({"Set-Cookie", cookie});
        m_server->setResponse("/", response);
        Cookies cookies;
        QTEST(cookies.start(m_server->url()), "expected");
        QCOMPARE(m_server->requests().size(), 1);
        QVERIFY(m_server->requests().at(0).header("Cookie").isNull());
    }
    void cookiesOfASilentOrMissingServer()
    {
        HttpResponse silent;
        silent.stallBeforeHeaders = true;
        m_server->setResponse("/", silent);
        Cookies waiting;
        waiting.setTransferTimeout(shortTimeout);
        QCOMPARE(waiting.start(m_server->url()), QString());
        const QString address = m_server->url();
        m_server->close();
        QCOMPARE(Cookies().start(address), QString());
    }

private:
    QUrl url(const QString &path = QStringLiteral("/")) const { return QUrl(m_server->url(path)); }

    Sandbox &m_sandbox;
    std::unique_ptr<HttpServer> m_server;
};

REELKEEPER_TEST_MAIN(TestPageFetch)
#include "tst_pagefetch.moc"
