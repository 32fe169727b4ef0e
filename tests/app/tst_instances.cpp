#include "testmain.h"

#include <QDir>
#include <QProcess>

#include <csignal>
#include <memory>

// Real processes that meet: one is the first, the others hand over their message and end.
class TestInstances final : public QObject
{
    Q_OBJECT

public:
    explicit TestInstances(Sandbox &sandbox)
        : m_runtime(qgetenv("XDG_RUNTIME_DIR"))
    {
        Q_UNUSED(sandbox)
    }

private slots:
    void init() { qputenv("XDG_RUNTIME_DIR", m_runtime); }

    void secondHandsOver()
    {
        qputenv("DESKTOP_STARTUP_ID", "launcher_TIME17");
        const QString full = QString::fromUtf8("größer 映画").leftJustified(4080, QLatin1Char('m'));
        Program first;
        QVERIFY(first.says("first"));
        // The session's own folder, not one that others could have made.
        QVERIFY(!QDir(QString::fromLocal8Bit(m_runtime)).isEmpty());
        for (const QString &message : {full, QStringLiteral("1")}) {
            Program second({message});
            QVERIFY(second.waitForFinished());
            QCOMPARE(second.exitCode(), 0);
            QCOMPARE(second.readAll(), QByteArray());
            QVERIFY(first.says("message " + message.toUtf8() + qgetenv("DESKTOP_STARTUP_ID")));
            // The same person in a session without a runtime folder, and the same list.
            qunsetenv("XDG_RUNTIME_DIR");
            qunsetenv("DESKTOP_STARTUP_ID"); // what came with a message goes with it
        }
    }

    void waitsForTheEndOfTheFirst()
    {
        Program first;
        QVERIFY(first.says("first"));
        first.terminate();
        QVERIFY(first.says("end") && first.says("ending"));
        Program next;
        QVERIFY(!next.waitForFinished(500));
        first.closeWriteChannel();
        QVERIFY(next.says("first"));
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
        QTest::newRow("starting a child") << QStringLiteral("child");
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
        QVERIFY(program.says("end"));
        program.closeWriteChannel();
        QVERIFY(program.waitForFinished());
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);
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

    const QByteArray m_runtime;
};

REELKEEPER_TEST_MAIN(TestInstances)
#include "tst_instances.moc"
