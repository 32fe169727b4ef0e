#include "testmain.h"

#include <QProcess>

#include <csignal>
#include <memory>

// Real processes that meet: one is the first, the others hand over their message and end.
class TestInstances final : public QObject
{
    Q_OBJECT

public:
    explicit TestInstances(Sandbox &) {}

private slots:
    void secondHandsOver_data()
    {
        QTest::addColumn<QString>("message");
        QTest::newRow("usual") << QStringLiteral("1");
        QTest::newRow("not ASCII") << QStringLiteral("größer 映画");
        QTest::newRow("fills the segment") << QString(4095, QLatin1Char('m'));
    }
    void secondHandsOver()
    {
        QFETCH(QString, message);
        Program first;
        QVERIFY(first.says("first"));
        for (int start = 0; start < 2; ++start) {
            Program second({message});
            QVERIFY(second.waitForFinished());
            QCOMPARE(second.exitCode(), 0);
            QCOMPARE(second.readAll(), QByteArray());
            QVERIFY(first.says("message " + message.toUtf8()));
        }
        // A longer text that waited before leaves nothing behind.
        Program third({QStringLiteral("2")});
        QVERIFY(first.says("message 2"));
    }

    void startsTogether()
    {
        std::vector<std::unique_ptr<Program>> programs;
        for (int start = 0; start < 4; ++start)
            programs.push_back(std::make_unique<Program>());
        const auto running = [&programs]() {
            int count = 0;
            for (const auto &program : programs)
                count += program->state() != QProcess::NotRunning ? 1 : 0;
            return count;
        };
        QTRY_COMPARE_WITH_TIMEOUT(running(), 1, 20000);
        int firsts = 0;
        for (const auto &program : programs)
            firsts += program->state() == QProcess::Running && program->says("first") ? 1 : 0;
        QCOMPARE(firsts, 1);
    }

    void startsAfterKill_data()
    {
        QTest::addColumn<QString>("argument");
        QTest::newRow("idle") << QStringLiteral("1");
        QTest::newRow("holding the lock") << QStringLiteral("hold");
    }
    void startsAfterKill()
    {
        QFETCH(QString, argument);
        {
            Program killed({argument});
            QVERIFY(killed.says("first"));
            killed.kill();
            QVERIFY(killed.waitForFinished());
        }
        Program next;
        QVERIFY(next.says("first"));
        Program second;
        QVERIFY(second.waitForFinished());
        QVERIFY(next.says("message 1"));
    }

    void endsWithTheSession_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("SIGTERM") << SIGTERM;
        QTest::newRow("SIGINT") << SIGINT;
        QTest::newRow("SIGHUP") << SIGHUP;
    }
    void endsWithTheSession()
    {
        QFETCH(int, signal);
        Program program;
        QVERIFY(program.says("first"));
        QCOMPARE(kill(static_cast<pid_t>(program.processId()), signal), 0);
        QVERIFY(program.waitForFinished());
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);
        QCOMPARE(program.readAll(), QByteArray("end\n"));
    }

private:
    // Ends with its scope.
    class Program final : public QProcess
    {
    public:
        explicit Program(const QStringList &arguments = {})
        {
            setProcessChannelMode(QProcess::ForwardedErrorChannel);
            start(QStringLiteral(INSTANCE_PROGRAM), arguments);
        }
        ~Program() override
        {
            kill();
            waitForFinished();
        }
        bool says(const QByteArray &line)
        {
            while (!canReadLine()) {
                if (!waitForReadyRead(10000))
                    return false;
            }
            const QByteArray said = readLine().trimmed();
            if (said != line)
                qWarning("said: %s", said.constData());
            return said == line;
        }
    };
};

REELKEEPER_TEST_MAIN(TestInstances)
#include "tst_instances.moc"
