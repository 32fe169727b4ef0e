#include "logfile.h"
#include "options.h"
#include "testmain.h"

#include <QDate>
#include <QThread>

#include <memory>

// The diagnostic log: its names, its lines, writers in several threads.
class TestLogFile final : public QObject
{
    Q_OBJECT

public:
    explicit TestLogFile(Sandbox &sandbox)
        : m_sandbox(sandbox)
    {
    }

private slots:
    void init()
    {
        for (const QString &name : logNames())
            QFile::remove(QDir::temp().filePath(name));
    }

    void noFileWhenOff()
    {
        m_sandbox.loadOptions(false);
        LogFile log;
        log.write(QStringLiteral("Failed:"), QStringLiteral("nobody reads this"));
        QCOMPARE(logNames(), QStringList());
    }

    void everyRunHasItsOwnFile()
    {
        m_sandbox.loadOptions(true);
        const QString stem = QStringLiteral("Corvane Reelkeeper-") +
                             QDate::currentDate().toString(QStringLiteral("yyyy-M-d"));
        QStringList expected;
        for (const char *end : {".log", "_0.log", "_1.log"}) {
            LogFile log;
            log.write(QStringLiteral("Failed:"), QStringLiteral("Load profiles.xml"));
            QVERIFY(log.open());
            expected << stem + QLatin1String(end);
            // Read while the log is still open: the line is in the file already.
            QCOMPARE(readFile(QDir::temp().filePath(expected.last())),
                     QByteArray("Failed:Load profiles.xml\r\n"));
        }
        expected.sort();
        QCOMPARE(logNames(), expected);
    }

    void staysSilentWithoutFolder()
    {
        m_sandbox.loadOptions(true);
        const QByteArray folder = qgetenv("TMPDIR");
        qputenv("TMPDIR", folder + "/missing");
        LogFile log;
        qputenv("TMPDIR", folder);
        log.write(QStringLiteral("Failed:"), QStringLiteral("no folder"));
        QVERIFY(!log.isOpen());
        QCOMPARE(logNames(), QStringList());
    }

    void linesOfThreadsStayWhole()
    {
        constexpr int lines = 200;
        m_sandbox.loadOptions(true);
        LogFile log;
        std::vector<std::unique_ptr<QThread>> threads;
        QStringList expected;
        for (int writer = 0; writer < 4; ++writer) {
            const QString text = QString(50, QChar(u'a' + writer));
            for (int line = 0; line < lines; ++line)
                expected << QStringLiteral("Download:") + text;
            threads.emplace_back(QThread::create([&log, text]() {
                for (int line = 0; line < lines; ++line)
                    log.write(QStringLiteral("Download:"), text);
            }));
            threads.back()->start();
        }
        for (const auto &thread : threads)
            QVERIFY(thread->wait(20000));
        QStringList written = m_sandbox.logLines();
        written.sort();
        QCOMPARE(written, expected);
    }

private:
    static QStringList logNames()
    {
        return QDir::temp().entryList({QStringLiteral("Corvane*")}, QDir::Files, QDir::Name);
    }

    Sandbox &m_sandbox;
};

REELKEEPER_TEST_MAIN(TestLogFile)
#include "tst_logfile.moc"
