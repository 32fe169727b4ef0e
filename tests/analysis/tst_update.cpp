#include "dlgupdate.h"
#include "httpserver.h"
#include "literals.h"
#include "options.h"
#include "simpledownload.h"
#include "siteprofile.h"
#include "testmain.h"

#include <QDir>
#include <QPointer>

static const QByteArray manifestPath = "/reelkeeper/Profile.xml";
static constexpr int installedVersion = 100;

class TestUpdate final : public QObject
{
    Q_OBJECT

public:
    explicit TestUpdate(Sandbox &sandbox)
        : m_sandbox(sandbox)
    {
        m_sandbox.loadOptions(true);
        m_options.load();
    }

private slots:
    void init()
    {
        m_options.jsVersion = installedVersion;
        m_options.save();
        QVERIFY(QDir(m_sandbox.scriptFolder()).removeRecursively());
        QVERIFY(writeFile(file("site.a"), "old a"));
        QVERIFY(writeFile(file("site.b"), "old b"));
        m_server = std::make_unique<HttpServer>();
        QVERIFY(m_server->listen());
        for (const char *name : {"a", "b", "c"})
            m_server->setResponse(QByteArray("/js/site.") + name,
                                  HttpResponse::text(QByteArray("new ") + name));
    }

    void check()
    {
        const char noManifest[] = "Profile.xml downlaod failed.";
        const char noScripts[] = "download js to";
        const char old[] = "old a,old b";
        const struct
        {
            int version;
            const char *secondName;
            QByteArray cut; // the path whose answer breaks off
            const char *log;
            const char *why;     // end of the line that follows a failure
            const char *scripts; // contents afterwards
        } cases[] = {
            {101, "site .b", "", "new version(101)", nullptr, "new a,new b"},
            {99, "site.b", "", "new version(99)", nullptr, "new a,new b"},
            {-4, "site.b", "", "new version(-4)", nullptr, "new a,new b"},
            {100, "site.b", "", "(100) same as server", nullptr, old},
            {100, "site.c", "", "new version(100)", nullptr, "new a,old b"}, // not there yet
            {101, "js/. ./../site.b", "", noManifest, "Profile.xml\", code -6.", old},
            {101, "..\\site.b", "", noManifest, "Profile.xml\", code -6.", old},
            {101, "'not well-formed", "", noManifest, "Profile.xml\", code -2.", old},
            {101, "site.b'/></domain><domain name='empty'><f des='", "", noManifest,
             "Profile.xml\", code -4.", old},
            {101, "site.b", manifestPath, noManifest, "/reelkeeper/Profile.xml\", code 2.", old},
            {101, "site.b", "/js/site.b", noScripts, "/js/site.b\", code 2.", "new a,old b"},
            {101, "site.d", "", noScripts, "/js/site.d\", code 203.", "new a,old b"},
        };
        for (const auto &row : cases) {
            init();
            const QString manifest =
                "<p><js version='%1' size='0' path='%2'/><sites>"
                "<domain name='d'><f des='' name='site.a'/></domain>"
                "<domain name='e'><f des='' name='%3'/></domain>"
                "</sites></p>"_q.arg(row.version)
                    .arg(m_server->url("/js/"_q), QString::fromLatin1(row.secondName));
            m_server->setResponse(manifestPath, HttpResponse::text(manifest.toLatin1()));
            HttpResponse cut = HttpResponse::text("new bytes that never end");
            cut.cutAfter = 9;
            if (!row.cut.isEmpty())
                m_server->setResponse(row.cut, cut);
            QDlgUpdate dialog(m_options, manifestAddress());
            QCOMPARE(dialog.exec() == QDialog::Accepted, !row.why);
            QStringList log = m_sandbox.logLines();
            if (row.why) {
                const QString why = log.takeLast();
                QVERIFY2(why.startsWith("Check update:file \""_q) &&
                             why.endsWith(QLatin1String(row.why)),
                         qPrintable(why));
            }
            QVERIFY(log.last().startsWith("Check update:"_q) &&
                    log.last().contains(QLatin1String(row.log)));
            m_options.load(); // what the next start will know
            QCOMPARE(m_options.jsVersion, row.why ? installedVersion : row.version);
            QCOMPARE(readFile(file("site.a")) + ',' + readFile(file("site.b")), row.scripts);
            QVERIFY(!QFile::exists(file("Profile.xml")));
        }
    }

    // The server has nothing. What the program brings is put there as a whole or not at all.
    void shippedScriptsFillAnEmptyFolder()
    {
        const QString shipped = m_sandbox.path("shipped"_q);
        const QByteArray manifest = "<p><js version='7' size='12' path='http://h/'/><sites>"
                                    "<domain name='d'><f des='' name='site.a'/>"
                                    "<f des='' name='site.b'/></domain></sites></p>";
        const struct
        {
            QByteArray manifest;
            const char *there; // in the script folder before
            const char *log;   // end of the last line
        } cases[] = {
            {manifest, nullptr, "Check update:shipped version(7) installed."},
            {manifest, "Profile.xml", "Check update:shipped version(7) installed."},
            {manifest, "own.org", "Profile.xml\", code 203."},
            {manifest, "site.b_temp", "scripts/\" cannot be written."}, // a full disk
            {QByteArray(manifest).replace("12", "13"), nullptr, " has 12 bytes instead of 13."},
            {QByteArray(manifest).replace("e.b", "e.c"), nullptr, "site.c\" is missing or empty."},
            {manifest.left(100), nullptr, "shipped/Profile.xml\", code -2."},
        };
        QVERIFY(writeFile(shipped + "/site.a"_q, "mine a") &&
                writeFile(shipped + "/site.b"_q, "mine b"));
        for (const auto &row : cases) {
            init();
            const QString folder = m_sandbox.scriptFolder();
            QVERIFY(QDir(folder).removeRecursively() && QDir().mkpath(folder));
            QVERIFY(writeFile(shipped + "/Profile.xml"_q, row.manifest));
            if (row.there)
                QVERIFY(QFile::link("/dev/full"_q, file(row.there)));
            QCOMPARE(QDlgUpdate(m_options, manifestAddress(), shipped).exec(),
                     int(QDialog::Rejected));
            const QString log = m_sandbox.logLines().last();
            QVERIFY2(log.endsWith(QLatin1String(row.log)), qPrintable(log));
            const bool installed = log.contains("installed."_q);
            m_options.load();
            QCOMPARE(m_options.jsVersion, installed ? 7 : installedVersion);
            QCOMPARE(readFile(file("site.a")) + readFile(file("site.b")),
                     QByteArray(installed ? "mine amine b" : ""));
        }
    }

    void manifestsAreTold()
    {
        const QString path = m_sandbox.path("manifest"_q);
        QCOMPARE(SiteProfile().load(path), -1); // is not there
        const QByteArray file = "<sites><domain name='d'><f des='' name='n'/>";
        const QPair<QByteArray, int> cases[] = {
            {"<js version='' size='1' path='p'/><other/>", 0},
            {"<js version='1' size='1'/>", -3},
            {file + "<!-- --></domain></sites>", -4},
            {"<sites><other/></sites>", -4},
            {file + "</domain></sites>", -5},
            {QByteArray("<a>").repeated(200000) + QByteArray("</a>").repeated(200000), -2},
        };
        for (const auto &row : cases) {
            QVERIFY(writeFile(path, "<p>" + row.first + "</p>"));
            QCOMPARE(SiteProfile().load(path), row.second);
        }
    }

    void closedOrDeletedDuringTheCheck()
    {
        for (bool deleted : {false, true}) {
            QPointer<QDlgUpdate> dialog(new QDlgUpdate(m_options, manifestAddress()));
            m_server->setHandler(manifestPath, [&](const HttpRequest &) {
                QMetaObject::invokeMethod(dialog,
                                          [&] { deleted ? delete dialog : dialog->reject(); });
                HttpResponse silent;
                silent.stallBeforeHeaders = true;
                return silent;
            });
            const QStringList log = m_sandbox.logLines();
            QElapsedTimer waited;
            waited.start();
            QCOMPARE(dialog->exec(), int(QDialog::Rejected));
            QVERIFY(waited.elapsed() < SimpleDownload::transferTimeout);
            QCOMPARE(dialog.isNull(), deleted);
            QCOMPARE(m_sandbox.logLines(), log); // nothing failed
            delete dialog;
        }
    }

    void failedDownloadKeepsTheOldFile()
    {
        HttpResponse stalled = HttpResponse::text("new bytes");
        stalled.stallAfter = 3;
        m_server->setResponse("/stalled", stalled);
        m_server->setResponse("/empty", HttpResponse::text(""));
        HttpResponse slow = HttpResponse::text("new bytes");
        slow.bytesPerSecond = 20;
        m_server->setResponse("/slow", slow);
        HttpResponse large = HttpResponse::text("");
        large.generatedBytes = SimpleDownload::largestFile + 1;
        m_server->setResponse("/large", large);
        const QString good = m_server->url("/js/site.a"_q);
        const auto fetch = [this](const QString &url, const char *target) {
            SimpleDownload download(300); // without a byte
            return download.download(url, file(target));
        };
        QVERIFY(!fetch(m_server->url("/stalled"_q), "site.a"));
        QVERIFY(!fetch(QUrl::fromLocalFile(file("site.b")).toString(), "site.a"));
        QVERIFY(!fetch(m_server->url("/empty"_q), "site.a"));
        QVERIFY(!fetch(m_server->url("/large"_q), "site.a"));
        QVERIFY(!fetch(good, "missing/site.a"));
        QVERIFY(QFile::remove(file("site.a_temp")));
        QVERIFY(QFile::link("/dev/full"_q, file("site.a_temp"))); // a full disk
        QVERIFY(!fetch(good, "site.a"));
        QCOMPARE(readFile(file("site.a")), QByteArray("old a"));
        QVERIFY(QFile::remove(file("site.a_temp")));
        QVERIFY(fetch(good, "site.a"));
        QCOMPARE(readFile(file("site.a")), QByteArray("new a"));
        QVERIFY(fetch(m_server->url("/slow"_q), "site.a"));
    }

private:
    QString file(const char *name) const
    {
        return m_sandbox.scriptFolder() + QString::fromLatin1(name);
    }

    QString manifestAddress() const { return m_server->url(QString::fromLatin1(manifestPath)); }

    Sandbox &m_sandbox;
    Options m_options;
    std::unique_ptr<HttpServer> m_server;
};

REELKEEPER_TEST_MAIN(TestUpdate)
#include "tst_update.moc"
