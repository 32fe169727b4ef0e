#include "httpserver.h"
#include "literals.h"
#include "testmain.h"

#include <QProcess>

#include <csignal>

// The program itself as a process.
class WindowProgramTest final : public QObject
{
    Q_OBJECT

public:
    explicit WindowProgramTest(Sandbox &sandbox)
        : m_sandbox(sandbox)
    {
    }

private slots:
    void initTestCase() { QVERIFY(m_server.listen()); }

    void terminationEndsItWell_data()
    {
        QTest::addColumn<bool>("duringStartUp");
        QTest::newRow("running") << false;
        QTest::newRow("while the scripts are updated") << true;
    }
    void terminationEndsItWell()
    {
        QFETCH(bool, duringStartUp);
        HttpResponse silence;
        silence.stallBeforeHeaders = true;
        const HttpResponse missing = HttpResponse::error(404);
        m_server.setResponse("/reelkeeper/Profile.xml", duringStartUp ? silence : missing);
        m_server.clearRequests();
        m_sandbox.loadOptions();
        const QString database = m_sandbox.path("data/Quarnitek/Corvane Reelkeeper/Task.dat"_q);
        QFile::remove(database);

        QProcess program;
        start(program);
        QTRY_VERIFY(!m_server.requests().isEmpty());
        if (!duringStartUp)
            QTRY_VERIFY(QFile::exists(database));
        QCOMPARE(::kill(pid_t(program.processId()), SIGTERM), 0);
        QVERIFY(program.waitForFinished(5000));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);
        QVERIFY(readFile(m_sandbox.path("config/Quarnitek/Corvane Reelkeeper.conf"_q))
                    .contains("Last%20Active%20Table"));
    }

private:
    void start(QProcess &program)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("REELKEEPER_UPDATE_HOST"_q, "127.0.0.1:%1"_q.arg(m_server.port()));
        program.setProcessEnvironment(environment);
        program.setProcessChannelMode(QProcess::ForwardedChannels);
        program.start(QString::fromLocal8Bit(PROGRAM), QStringList());
        QVERIFY(program.waitForStarted());
    }

    Sandbox &m_sandbox;
    HttpServer m_server;
};

REELKEEPER_TEST_MAIN(WindowProgramTest)
#include "tst_windowprogram.moc"
