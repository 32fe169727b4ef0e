#include "appinfo.h"
#include "dlgupdate.h"
#include "httpserver.h"
#include "literals.h"
#include "options.h"
#include "simpledownload.h"
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
    }

private slots:
    void init()
    {
        m_sandbox.loadOptions(true);
        Options::instance()->jsVersion = installedVersion;
        QVERIFY(QDir(m_sandbox.scriptFolder()).removeRecursively());
        QVERIFY(writeFile(file("site.a"), "old a"));
        QVERIFY(writeFile(file("site.b"), "old b"));
        m_server = std::make_unique<HttpServer>();
        QVERIFY(m_server->listen());
        m_server->setResponse("/js/site.a", HttpResponse::text("new a"));
        m_server->setResponse("/js/site.b", HttpResponse::text("new b"));
        AppInfo::instance()->profileListUrl = m_server->url(QString::fromLatin1(manifestPath));
    }

    void check()
    {
        const char noManifest[] = "downlaod failed.";
        const char noScripts[] = "download js to";
        const struct
        {
            int version;
            const char *secondName;
            QByteArray cut; // the path whose answer breaks off
            bool accepted;
            const char *log;
            const char *scripts; // contents afterwards
        } cases[] = {
            {101, "site .b", "", true, "new version(101)", "new a,new b"},
            {99, "site.b", "", true, "new version(99)", "new a,new b"},
            {100, "site.b", "", true, "(100) same as server", "old a,old b"},
            {-1, "site.b", "", false, noManifest, "old a,old b"},
            {101, "../site.b", "", false, noManifest, "old a,old b"},
            {101, "js/. ./../site.b", "", false, noManifest, "old a,old b"},
            {101, "/tmp/site.b", "", false, noManifest, "old a,old b"},
            {101, "..\\site.b", "", false, noManifest, "old a,old b"},
            {101, "'not well-formed", "", false, noManifest, "old a,old b"},
            {101, "site.b'/></domain><domain name='empty'><f des='", "", false, noManifest,
             "old a,old b"},
            {101, "site.b", manifestPath, false, noManifest, "old a,old b"},
            {101, "site.b", "/js/site.b", false, noScripts, "new a,old b"},
            {101, "site.c", "", false, noScripts, "new a,old b"},
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
            QDlgUpdate dialog;
            QCOMPARE(dialog.exec() == QDialog::Accepted, row.accepted);
            const QString log = m_sandbox.logLines().last();
            QVERIFY(log.startsWith("Check update:"_q) && log.contains(QLatin1String(row.log)));
            QCOMPARE(Options::instance()->jsVersion, row.accepted ? row.version : installedVersion);
            QCOMPARE(readFile(file("site.a")) + ',' + readFile(file("site.b")), row.scripts);
            QVERIFY(!QFile::exists(file("Profile.xml")));
        }
    }

    void closedOrDeletedDuringTheCheck()
    {
        for (bool deleted : {false, true}) {
            QPointer<QDlgUpdate> dialog(new QDlgUpdate);
            m_server->setHandler(manifestPath, [&](const HttpRequest &) {
                QMetaObject::invokeMethod(dialog,
                                          [&] { deleted ? delete dialog : dialog->reject(); });
                HttpResponse silent;
                silent.stallBeforeHeaders = true;
                return silent;
            });
            QElapsedTimer waited;
            waited.start();
            QCOMPARE(dialog->exec(), int(QDialog::Rejected));
            QVERIFY(waited.elapsed() < SimpleDownload::transferTimeout);
            QCOMPARE(dialog.isNull(), deleted);
            delete dialog;
        }
    }

    void failedDownloadKeepsTheOldFile()
    {
        HttpResponse stalled = HttpResponse::text("new bytes");
        stalled.stallAfter = 3;
        m_server->setResponse("/stalled", stalled);
        const QString good = m_server->url("/js/site.a"_q);
        const auto fetch = [this](const QString &url, const char *target) {
            SimpleDownload download;
            download.setTransferTimeout(300);
            return download.download(url, file(target));
        };
        QVERIFY(!fetch(m_server->url("/stalled"_q), "site.a"));
        QVERIFY(!fetch(QUrl::fromLocalFile(file("site.b")).toString(), "site.a"));
        QVERIFY(!fetch(good, "missing/site.a"));
        QVERIFY(QFile::remove(file("site.a_temp")));
        QVERIFY(QFile::link("/dev/full"_q, file("site.a_temp"))); // a full disk
        QVERIFY(!fetch(good, "site.a"));
        QCOMPARE(readFile(file("site.a")), QByteArray("old a"));
        QVERIFY(QFile::remove(file("site.a_temp")));
        QVERIFY(fetch(good, "site.a"));
        QCOMPARE(readFile(file("site.a")), QByteArray("new a"));
    }

private:
    QString file(const char *name) const
    {
        return m_sandbox.scriptFolder() + QString::fromLatin1(name);
    }

    Sandbox &m_sandbox;
    std::unique_ptr<HttpServer> m_server;
};

REELKEEPER_TEST_MAIN(TestUpdate)
#include "tst_update.moc"
