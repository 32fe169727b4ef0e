#include "appinfo.h"
#include "files.h"
#include "literals.h"
#include "logfile.h"
#include "testmain.h"
#include "texts.h"

#include <memory>

// The text, file-name and address helpers, and the diagnostic log.
class TestHelpers final : public SandboxTest
{
    Q_OBJECT

public:
    using SandboxTest::SandboxTest;

private slots:
    void texts()
    {
        const QString camera = "\xF0\x9F\x8E\xAC"_q; // two units and four bytes, not to be parted
        const QPair<QString, QString> cases[] = {
            {formatSize(1025), "1.0 KB"_q},
            {formatSize(1073741824), "1024.0 MB"_q},
            {formatSize(1073741825), "1.0 GB"_q},
            {decodeUrl("http://h/a%20b?x=%C3%A9"_q), "http://h/a b?x=é"_q},
            {sanitizeFileName("\\/:*?\"<>|'é"_q + QChar(0)), "__________é_"_q},
            {renamedPath("/v/old.name.mp4"_q, "new"_q), "/v/new.mp4"_q},
            {fittingBaseName("a"_q.repeated(252), ".mp4"_q), "a"_q.repeated(251)},
            {fittingBaseName(camera.repeated(100), ".mp4"_q), camera.repeated(62)},
        };
        for (const auto &row : cases)
            QCOMPARE(row.first, row.second);
    }

    void addresses()
    {
        qputenv("REELKEEPER_SITE_HOST", "www.Site.example");
        const AppInfo info;
        QVERIFY(info.isSupportedUrl("http://WWW.site.example:81/"_q));
        QVERIFY(!info.isSupportedUrl("http://www.site.example.evil.example/"_q));
        QVERIFY(isUrl("http://127.0.0.1:8438/watch?v=1"_q) && !isUrl("https://host.com"_q));
    }

    void everyRunHasItsOwnLog()
    {
        LogFile().write("Failed:"_q, "nobody reads this"_q);
        QCOMPARE(m_sandbox.logLines(), QStringList());
        const QString day = QDate::currentDate().toString("yyyy-M-d"_q);
        for (const char *end : {".log", "_0.log", "_1.log"}) {
            LogFile log;
            QVERIFY(log.open());
            log.write("Failed:"_q, QString::fromLatin1(end));
            const QString name = "Corvane Reelkeeper-"_q + day + QLatin1String(end);
            QCOMPARE(readFile(QDir::temp().filePath(name)), "Failed:" + QByteArray(end) + "\r\n");
            QCOMPARE(int(log.permissions() & 0x77), 0); // nobody else reads it
        }
    }

    void linesOfThreadsStayWhole()
    {
        LogFile log;
        QVERIFY(log.open());
        const auto writeLines = [&log]() {
            for (int line = 0; line < 100; ++line)
                log.write("Read page:"_q, "a"_q.repeated(50000));
        };
        const std::unique_ptr<QThread> other(QThread::create(writeLines));
        other->start();
        writeLines();
        QVERIFY(other->wait(20000));
        const QByteArray line = "Read page:" + QByteArray(50000, 'a') + "\r\n";
        QVERIFY(readFile(log.fileName()) == line.repeated(200));
    }
};

REELKEEPER_TEST_MAIN(TestHelpers)
#include "tst_helpers.moc"
