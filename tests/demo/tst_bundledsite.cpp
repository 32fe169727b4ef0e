#include "appinfo.h"
#include "certificate.h"
#include "cjslib.h"
#include "demosite.h"
#include "demovideos.h"
#include "dlgnewdownload.h"
#include "dlgupdate.h"
#include "httpget.h"
#include "literals.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "pageanalysis.h"
#include "testmain.h"

#include <QLabel>
#include <QSslSocket>

static const QStringList siteScripts = {"127.0.0.1"_q, "youtube.com"_q};

static QByteArray page(const QByteArray &formats, const QByteArray &more = QByteArray())
{
    return "<script>var ytInitialPlayerResponse = {\"streamingData\":{\"formats\":" + formats +
           '}' + more + "};</script>";
}

static QByteArray format(const QByteArray &more = "\"url\":\"http://h/v\"")
{
    return "[{\"width\":640,\"height\":360,\"mimeType\":\"video/mp4\"," + more + "}]";
}

// The site on this machine and the site scripts it publishes, tried on each other.
class TestBundledSite final : public SandboxTest
{
    Q_OBJECT

public:
    using SandboxTest::SandboxTest;

private slots:
    // What is tried below is what the site publishes, by way of its update.
    void initTestCase()
    {
        QCOMPARE(makeDemoVideos(m_media), QString());
        QVERIFY(m_site.listen(0));
        m_options.jsPath = m_sandbox.scriptFolder();
        QDlgUpdate update(m_options, m_site.url("/reelkeeper/Profile.xml"_q));
        QCOMPARE(update.exec(), int(QDialog::Accepted));
        m_scripts.loadScripts(m_sandbox.scriptFolder());
    }

    // What the dialog gives as an example, for the program as ./run starts it.
    void exampleCanBeTried()
    {
        AppInfo info;
        info.supportedHosts = QStringList("127.0.0.1"_q);
        info.profileListUrl = m_site.url("/reelkeeper/Profile.xml"_q);
        OutputProfileManager profiles(m_options);
        DlgNewDownload dialog(QString(), {m_options, profiles, m_scripts, info});
        const QString text = dialog.findChild<QLabel *>("label"_q)->text();
        QCOMPARE(dialog.analysePage(text.section("example, "_q, 1).chopped(1)), 0);
    }

    void everyVideoIsRead()
    {
        for (const DemoVideo &video : demoVideos()) {
            const QByteArray watchPage = fetched("/watch?hl=en_US&v=%1"_q.arg(video.id));
            for (const QString &script : siteScripts) {
                const VideoInfo info = parsed(script, watchPage);
                QCOMPARE(info.title, video.title);
                QCOMPARE(info.keyword, video.keywords.join(", "_q));
                QCOMPARE(info.description, video.description);
                QStringList streams;
                for (const DemoStream &stream : video.streams) {
                    const QString type = QFileInfo(stream.file).suffix();
                    streams
                        << "%1x%2$%3"_q.arg(stream.width).arg(stream.height).arg(video.seconds) +
                               type + m_site.url("/stream/"_q) + stream.file;
                }
                QStringList read;
                for (const VideoStream &stream : PageAnalysis::splitStreams(info.streamText))
                    read << stream.dimension + "$"_q + stream.length + stream.type +
                                stream.videoAddress;
                QCOMPARE(read, streams);
            }
        }
        const QByteArray missing = fetched("/watch?v=no-such-video"_q);
        QCOMPARE(parsed(siteScripts.last(), missing).streamText,
                 "$Error:not playable: Video unavailable"_q);
    }

    // A page whose form its reader does not know, or with an address that leads nowhere.
    void everyPageOfOtherSitesIsRead()
    {
        const QString index = HttpGet().get(QUrl(m_site.url()));
        auto pages = QRegularExpression("href=\"([^\"]*/pages/[^\"]*)"_q).globalMatch(index);
        QVERIFY(pages.hasNext());
        while (pages.hasNext()) {
            const QString page = pages.next().captured(1);
            const VideoInfo info = parsed(siteScripts.first(), HttpGet().get(QUrl(page)).toUtf8());
            const QVector<VideoStream> streams = PageAnalysis::splitStreams(info.streamText);
            QVERIFY2(!streams.isEmpty() && !info.title.isEmpty(), qPrintable(page));
            for (const VideoStream &stream : streams) {
                QNetworkAccessManager network;
                const auto *reply = network.head(QNetworkRequest(QUrl(stream.videoAddress)));
                QSignalSpy finished(reply, &QNetworkReply::finished);
                QVERIFY(finished.wait());
                const QString type = reply->header(QNetworkRequest::ContentTypeHeader).toString();
                QCOMPARE(type, "video/"_q + stream.type);
            }
        }
    }

    void damagedPagesAreErrors()
    {
        const QByteArray deep(1000000, '[');
        const QByteArray pages[] = {
            "<html><script>var a = 1;</script></html>",
            "<script ytInitialPlayerResponse = {}",
            page(format()).left(90),
            page(format()).replace("script>", "p>"),
            page("alert"),
            page(deep),
            page(deep + QByteArray(1000000, ']')),
            page("{\"length\":1000000000}"),
            page("[null,1,\"a\",[],{}]"),
            page(format().replace("640", "{\"toString\":1}")),
            page(format().replace("video/", "audio/")),
            page(format("\"url\":\"ftp://h/v\"")),
            page(format("\"url\":\"http://" + QByteArray(1000000, 'h') + " \"")),
            page(format("\"url\":\"http://h/v\",\"signatureCipher\":\"s=1\"")),
        };
        for (const QByteArray &text : pages) {
            for (const QString &script : siteScripts) {
                const VideoInfo info = parsed(script, text);
                QVERIFY2(info.streamText.startsWith("$Error:"_q), text.left(300));
                QCOMPARE(info.title + info.keyword + info.description, QString());
            }
        }
    }

    void oddPagesAreRead()
    {
        const QByteArray good = page(format());
        const QByteArray big("{\"text\":\"a \\\"quoted\\\" word and a } brace\"},");
        const QByteArray pages[] = {
            QByteArray(good).replace("var ytInitialPlayerResponse ",
                                     "window[\"ytInitialPlayerResponse\"]"),
            "<script>// ytInitialPlayerResponse = {\"...\nvar a;</script>" + good,
            page(format("\"qualityLabel\":\"|$\",\"url\":\"http://h/v\"")),
            page(format("\"url\":\"https://h/v\"")),
            page("[{\"cipher\":\"s\"}," + format().mid(1)),
            QByteArray("<script>var a = {};</script>").repeated(3000) +
                page(format(), ",\"big\":[" + big.repeated(20000) + "{}]"),
        };
        QElapsedTimer clock;
        clock.start();
        for (const QByteArray &text : pages)
            QCOMPARE(parsed(siteScripts.last(), text).streamText, "640x360$$$mp4|http://h/v"_q);
        QVERIFY2(clock.elapsed() < 3000, qPrintable(QString::number(clock.elapsed())));
    }

    // What is cut breaks off: every byte before it arrives, and nothing says that this was the end.
    void secureConnectionIsCut()
    {
        const TestCertificates certificates(m_sandbox.path("certificates"_q));
        const qint64 size = 3000000;
        HttpServer server;
        QVERIFY(!server.setCertificate(certificates.good(), certificates.good()));
        QVERIFY(server.setCertificate(certificates.good(), certificates.key()));
        QVERIFY(server.listen());
        HttpResponse response;
        response.generatedBytes = 2 * size;
        response.cutAfter = size;
        server.setResponse("/cut", response);
        QSslSocket client;
        QSslConfiguration trusting;
        QVERIFY(trusting.addCaCertificates(certificates.authority()));
        client.setSslConfiguration(trusting);
        QStringList errors;
        connect(&client, &QSslSocket::errorOccurred, [&] { errors << client.errorString(); });
        client.connectToHostEncrypted("127.0.0.1"_q, server.port());
        QVERIFY(client.waitForEncrypted());
        client.write("GET /cut HTTP/1.1\r\n\r\n");
        while (client.waitForReadyRead()) {
        }
        QByteArray body = client.readAll();
        body.remove(0, body.indexOf("\r\n\r\n") + 4);
        QCOMPARE(qint64(body.size()), size);
        QCOMPARE(body.back(), patternByte(size - 1));
        QCOMPARE(errors, QStringList("The remote host closed the connection"_q));
    }

    void savedPagesAreServedAndNothingElse()
    {
        const QString folder = m_sandbox.path("saved/"_q);
        QVERIFY(writeFile(folder + "Mills & locks.html"_q, "page of @HOST@"));
        QVERIFY(writeFile(folder + "notes.txt"_q, "text"));
        QVERIFY(writeFile(folder + "../outside.html"_q, "outside"));
        DemoSite site(m_media, QStringLiteral(SITE_SCRIPTS), 0);
        site.setSavedPages(folder);
        QVERIFY(site.listen(0));
        const auto answer = [&](const QByteArray &request) {
            QTcpSocket client;
            client.connectToHost("127.0.0.1"_q, site.server().port());
            client.write(request + QByteArray(" HTTP/1.1\r\nHost: h\r\nConnection: close\r\n\r\n"));
            while (client.waitForReadyRead()) {
            }
            return client.readAll();
        };
        QVERIFY(answer("GET /").contains("http://h/saved/Mills%20%26%20locks.html\""));
        for (const char *language : {"", "&hl=en_US&persist_hl=0"}) {
            const QByteArray page =
                answer(QByteArray("GET /saved/Mills%20%26%20locks.html") + language);
            QVERIFY(page.endsWith("page of h"));
            QVERIFY(page.contains("\r\nSet-Cookie: "));
        }
        QVERIFY(answer("GET /download/a/mill.OGV").contains("Content-Type: video/ogg\r\n"));
        for (const char *path : {"/saved/notes.txt", "/saved/", "/saved/../outside.html",
                                 "/saved/%2e%2e%2foutside.html", "/download/notes.txt"})
            QVERIFY2(answer(QByteArray("GET ") + path).startsWith("HTTP/1.1 404 "), path);
    }

private:
    QByteArray fetched(const QString &path)
    {
        return HttpGet().get(QUrl(m_site.url(path))).toUtf8();
    }
    VideoInfo parsed(const QString &script, const QByteArray &text) const
    {
        return m_scripts.parsePage("page"_q, QString::fromUtf8(text),
                                   m_sandbox.scriptFolder() + script);
    }

    Options m_options;
    CJSLib m_scripts;
    const QString m_media = QCoreApplication::applicationDirPath() + "/samples/bundled-site/"_q;
    DemoSite m_site{m_media, QStringLiteral(SITE_SCRIPTS), 0};
};

REELKEEPER_TEST_MAIN(TestBundledSite)
#include "tst_bundledsite.moc"
