#include "appinfo.h"
#include "dlgupdate.h"
#include "httpserver.h"
#include "logfile.h"
#include "options.h"
#include "simpledownload.h"
#include "testmain.h"

#include <QDir>
#include <QElapsedTimer>
#include <QLabel>
#include <QPointer>
#include <QTimer>

namespace {
const QByteArray manifestPath = "/reelkeeper/Profile.xml";
constexpr int installedVersion = 100;
} // namespace

class TestUpdate : public QObject
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
        LogFile::destroyInstance();
        for (const QFileInfo &log : QDir(QDir::tempPath()).entryInfoList({QStringLiteral("*.log")}))
            QVERIFY(QFile::remove(log.filePath()));
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
        const char noManifest[] = "%1 downlaod failed.";
        const char noScripts[] = "download js to \"%2\" failed.";
        const struct
        {
            int version;
            const char *secondName;
            QByteArray cut; // the path whose answer breaks off
            bool accepted;
            const char *log;
            const char *scripts; // contents afterwards
        } cases[] = {
            {101, "site.b", "", true, "update to new version(101).", "new a,new b"},
            {99, "site.b", "", true, "update to new version(99).", "new a,new b"},
            {100, "site.b", "", true, "current version(100) same as server.", "old a,old b"},
            {-4, "site.b", "", false, noManifest, "old a,old b"},
            {101, "../site.b", "", false, noManifest, "old a,old b"},
            {101, "site.b", manifestPath, false, noManifest, "old a,old b"},
            {101, "site.b", "/js/site.b", false, noScripts, "new a,old b"},
            {101, "site.c", "", false, noScripts, "new a,old b"},
        };
        for (const auto &row : cases) {
            init();
            publish(row.version, row.secondName);
            HttpResponse cut = HttpResponse::text("new bytes that never end");
            cut.cutAfter = 9;
            if (!row.cut.isEmpty())
                m_server->setResponse(row.cut, cut);
            QDlgUpdate dialog;
            QCOMPARE(dialog.exec() == QDialog::Accepted, row.accepted);
            QString log = QStringLiteral("Check update:") + QString::fromLatin1(row.log);
            log.replace(QStringLiteral("%1"), AppInfo::instance()->profileListUrl);
            log.replace(QStringLiteral("%2"), Options::instance()->jsPath);
            QCOMPARE(m_sandbox.logLines(), QStringList{log});
            QCOMPARE(Options::instance()->jsVersion, row.accepted ? row.version : installedVersion);
            QCOMPARE(readFile(file("site.a")) + ',' + readFile(file("site.b")),
                     QByteArray(row.scripts));
            QVERIFY(!QFile::exists(file("Profile.xml")));
            if (row.cut.endsWith("site.b"))
                QCOMPARE(readFile(file("site.b_temp")), QByteArray("new bytes"));
        }
    }

    void keepsTheManifestWhenToldTo()
    {
        Options::instance()->removeUpdateFile = false;
        publish(installedVersion, "site.b");
        QDlgUpdate dialog;
        QCOMPARE(dialog.exec(), int(QDialog::Accepted));
        QVERIFY(QFile::exists(file("Profile.xml")));
    }

    void unreachableServer()
    {
        m_server->close();
        QDlgUpdate dialog;
        QCOMPARE(dialog.exec(), int(QDialog::Rejected));
        QVERIFY(m_sandbox.logLines().value(0).endsWith(QStringLiteral(" downlaod failed.")));
    }

    void closedDuringTheCheck() { endDuringTheCheck(false); }
    void deletedDuringTheCheck() { endDuringTheCheck(true); }

    void failedDownloadKeepsTheOldFile()
    {
        HttpResponse stalled = HttpResponse::text("new bytes");
        stalled.stallAfter = 3;
        m_server->setResponse("/stalled", stalled);
        m_server->setResponse("/empty", HttpResponse::text(""));
        const QString good = m_server->url(QStringLiteral("/js/site.a"));
        const auto fetch = [this](const QString &url, const char *target) {
            SimpleDownload download;
            download.setTransferTimeout(300);
            return download.download(url, file(target));
        };
        QVERIFY(!fetch(m_server->url(QStringLiteral("/stalled")), "site.a"));
        QVERIFY(!fetch(m_server->url(QStringLiteral("/empty")), "site.a"));
        QVERIFY(!fetch(QUrl::fromLocalFile(file("site.b")).toString(), "site.a"));
        QVERIFY(!fetch(good, "missing/site.a"));
        QVERIFY(writeFile(file("folder/inside"), "kept"));
        QVERIFY(!fetch(good, "folder"));
        QCOMPARE(readFile(file("folder/inside")), QByteArray("kept"));
        QVERIFY(QFile::remove(file("site.a_temp")));
        QVERIFY(QFile::link(QStringLiteral("/dev/full"), file("site.a_temp"))); // a full disk
        QVERIFY(!fetch(good, "site.a"));
        QCOMPARE(readFile(file("site.a")), QByteArray("old a"));
        QVERIFY(QFile::remove(file("site.a_temp")));
        QVERIFY(fetch(good, "site.a"));
        QCOMPARE(readFile(file("site.a")), QByteArray("new a"));
    }

private:
    void endDuringTheCheck(bool deleted)
    {
        HttpResponse silent;
        silent.stallBeforeHeaders = true;
        m_server->setResponse(manifestPath, silent);
        QPointer<QDlgUpdate> dialog(new QDlgUpdate);
        QSignalSpy accepted(dialog, &QDialog::accepted);
        QTimer watch;
        connect(&watch, &QTimer::timeout, this, [this, &watch, &dialog, deleted] {
            if (m_server->requests().isEmpty())
                return;
            watch.stop();
            if (deleted)
                delete dialog.data();
            else
                QTest::keyClick(dialog, Qt::Key_Escape);
        });
        watch.start(10);
        QElapsedTimer waited;
        waited.start();
        QCOMPARE(dialog->exec(), int(QDialog::Rejected));
        QVERIFY(waited.elapsed() < SimpleDownload::transferTimeout);
        QCOMPARE(dialog.isNull(), deleted);
        QCOMPARE(m_sandbox.logLines().size(), 1);
        QCOMPARE(accepted.size(), 0);
        delete dialog.data();
    }

    QString file(const char *name) const
    {
        return m_sandbox.scriptFolder() + QString::fromLatin1(name);
    }
    void publish(int version, const QByteArray &secondName)
    {
        m_server->setResponse(
            manifestPath,
            HttpResponse::text(
                "<p><js version='" + QByteArray::number(version) + "' size='0' path='" +
                m_server->url(QStringLiteral("/js/")).toLatin1() +
                "'/><sites><domain name='d'><f des='' name='site.a'/><f des='' name='" +
                secondName + "'/></domain></sites></p>"));
    }

    Sandbox &m_sandbox;
    std::unique_ptr<HttpServer> m_server;
};

REELKEEPER_TEST_MAIN(TestUpdate)
#include "tst_update.moc"
