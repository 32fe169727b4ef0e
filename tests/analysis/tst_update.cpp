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

    void check_data()
    {
        QTest::addColumn<int>("version");
        QTest::addColumn<QByteArray>("secondName");
        QTest::addColumn<QByteArray>("broken"); // path of the answer that is cut in the middle
        QTest::addColumn<bool>("accepted");
        QTest::addColumn<QString>("log");
        QTest::addColumn<QByteArrayList>("scripts"); // contents afterwards
        const QByteArray b = "site.b";
        const QByteArrayList old = {"old a", "old b"};
        const QByteArrayList fresh = {"new a", "new b"};
        const char noManifest[] = "%1 downlaod failed.";
        const char noScripts[] = "download js to \"%2\" failed.";
        QTest::newRow("newer") << 101 << b << QByteArray() << true << "update to new version(101)."
                               << fresh;
        QTest::newRow("lower") << 99 << b << QByteArray() << true << "update to new version(99)."
                               << fresh;
        QTest::newRow("same") << 100 << b << QByteArray() << true
                              << "current version(100) same as server." << old;
        QTest::newRow("negative") << -4 << b << QByteArray() << false << noManifest << old;
        QTest::newRow("name leaves the folder")
            << 101 << QByteArray("../site.b") << QByteArray() << false << noManifest << old;
        QTest::newRow("manifest cut") << 101 << b << manifestPath << false << noManifest << old;
        QTest::newRow("script cut") << 101 << b << QByteArray("/js/site.b") << false << noScripts
                                    << QByteArrayList{"new a", "old b"};
        QTest::newRow("script missing") << 101 << QByteArray("site.c") << QByteArray() << false
                                        << noScripts << QByteArrayList{"new a", "old b"};
    }
    void check()
    {
        QFETCH(int, version);
        QFETCH(QByteArray, secondName);
        QFETCH(QByteArray, broken);
        QFETCH(bool, accepted);
        QFETCH(QString, log);
        publish(version, secondName);
        if (!broken.isEmpty()) {
            HttpResponse cut = HttpResponse::text("new bytes that never end");
            cut.cutAfter = 9;
            m_server->setResponse(broken, cut);
        }
        QDlgUpdate dialog;
        QCOMPARE(dialog.findChild<QLabel *>()->text(),
                 QStringLiteral("Please wait,checking for update..."));
        QCOMPARE(dialog.exec() == QDialog::Accepted, accepted);
        log.replace(QStringLiteral("%1"), AppInfo::instance()->profileListUrl);
        log.replace(QStringLiteral("%2"), Options::instance()->jsPath);
        QCOMPARE(m_sandbox.logLines(), QStringList{QStringLiteral("Check update:") + log});
        QCOMPARE(Options::instance()->jsVersion, accepted ? version : installedVersion);
        QTEST((QByteArrayList{readFile(file("site.a")), readFile(file("site.b"))}), "scripts");
        QVERIFY(!QFile::exists(file("Profile.xml")));
        if (broken.endsWith("site.b"))
            QCOMPARE(readFile(file("site.b_temp")), QByteArray("new bytes"));
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

    void download_data()
    {
        QTest::addColumn<int>("fault");
        QTest::addColumn<bool>("result");
        QTest::newRow("replaces the old file") << 0 << true;
        QTest::newRow("empty") << 1 << false;
        QTest::newRow("error page") << 2 << false;
        QTest::newRow("stalls") << 3 << false;
        QTest::newRow("cannot be put in place") << 4 << false;
        QTest::newRow("no folder") << 5 << false;
        QTest::newRow("full disk") << 6 << false;
        QTest::newRow("file of this computer") << 7 << false;
    }
    void download()
    {
        QFETCH(int, fault);
        QFETCH(bool, result);
        HttpResponse response = HttpResponse::text(fault == 1 ? "" : "new bytes");
        response.status = fault == 2 ? 404 : 200;
        response.stallAfter = fault == 3 ? 3 : -1;
        m_server->setResponse("/file", response);
        QString target = file("site.a");
        QString url = m_server->url(QStringLiteral("/file"));
        if (fault == 4) {
            target = file("folder");
            QVERIFY(writeFile(file("folder/inside"), "kept"));
        } else if (fault == 5) {
            target = file("missing/site.a");
        } else if (fault == 6) {
            QVERIFY(QFile::link(QStringLiteral("/dev/full"), file("site.a_temp")));
        } else if (fault == 7) {
            url = QUrl::fromLocalFile(file("site.b")).toString();
        }
        SimpleDownload download;
        download.setTransferTimeout(300);
        QCOMPARE(download.download(url, target), result);
        QCOMPARE(readFile(file("site.a")), result ? QByteArray("new bytes") : QByteArray("old a"));
        QCOMPARE(QFile::exists(file("site.a_temp")),
                 !result && fault != 4 && fault != 5 && fault != 7);
        if (fault == 4)
            QCOMPARE(readFile(file("folder/inside")), QByteArray("kept"));
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
