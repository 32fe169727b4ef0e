#include "literals.h"
#include "options.h"
#include "testmain.h"

#include <QScreen>
#include <QTableWidget>

// The settings file: defaults, round trip, damage; windows and columns that come back usable.
class TestOptions final : public SandboxTest
{
    Q_OBJECT

public:
    using SandboxTest::SandboxTest;

private slots:
    void init() { QFile::remove(file()); }

    void firstStart()
    {
        Options options;
        QVERIFY(options.load());
        QCOMPARE(options.outputFolder, m_sandbox.path("documents/Corvane Reelkeeper/"_q));
        QCOMPARE(options.jsPath, m_sandbox.path("data/Quarnitek/Corvane Reelkeeper/script/"_q));
        QVERIFY(QDir(options.outputFolder).exists() && QDir(options.jsPath).exists());
        QCOMPARE(values(options), (QList<int>{2, 0, 0, 0, 1, 1, 1, 0, 5, 1, 100, 1, 0, 1, 0, 1}));
    }

    void savedValuesComeBack()
    {
        QVERIFY(writeFile(
            file(),
            "[Options]\nSource%20Quality=4\nOutput%20Format=31\nDelete%20Finished%20Video=1\n"
            "Last%20Active%20Table=1\nQuery%20on%20Exit=0\nAuto%20Open%20New=false\n"
            "Notify%20When%20Finished=0\nShut%20Down%20When%20All%20Finished=true\n"
            "Tray%20Notify%20Duration=9\nShow%20Main%20Frame=0\nJS%20Version=438\n"
            "First%20Close%20MainFrame=0\n[Debug]\nEnable%20Logging=true\n"
            "Delete Temp File=0\nAppend%20Device%20Name=1\nRemove%20Update%20File=0\n"));
        const QList<int> stored = {4, 31, 1, 1, 0, 0, 0, 1, 9, 0, 438, 0, 1, 0, 1, 0};
        Options options;
        options.load();
        QCOMPARE(values(options), stored);
        options.outputFolder = m_sandbox.path("my, é \"videos\"/"_q);
        init();
        options.save();
        Options again;
        again.load();
        QCOMPARE(again.outputFolder, options.outputFolder);
        QCOMPARE(values(again).mid(0, 12), stored.mid(0, 12));
    }

    void hostsWrittenByHandStay()
    {
        QVERIFY(writeFile(file(), "[Options]\nSecure Hosts=a.test, b.test"));
        for (int run = 0; run < 2; ++run) {
            Options options;
            options.load();
            QCOMPARE(options.secureHosts.value_or(QString()), "a.test, b.test"_q);
            options.save();
        }
    }

    void damageMeansDefaults()
    {
        const QByteArray folder = m_sandbox.path("by, hand,é"_q).toUtf8();
        for (const QByteArray &text :
             {QByteArray("Source Quality=many\nQuery on Exit=0,1"), QByteArray("\0\xff=[[\n", 6)}) {
            QVERIFY(writeFile(file(), "[Options]\nJS Path=" + folder + '\n' + text));
            Options options;
            options.load();
            QCOMPARE(options.sourceQuality, 2);
            QVERIFY(options.queryOnExit);
            QCOMPARE(options.jsPath.toUtf8(), folder + '/');
        }
    }

    void windowComesBackOnScreen_data()
    {
        QTest::addColumn<QRect>("expected"); // invalid: anywhere on the primary screen
        QTest::newRow("size=@Size(500 360)\npos=@Point(-90 40)") << QRect(-90, 40, 500, 360);
        QTest::newRow("size=@Size(500 360)\npos=@Point(40 -25)") << QRect();
        QTest::newRow("size=@Size(2147483647 1)\npos=@Point(-2147483648 9000)") << QRect();
        QTest::newRow("size=wide\npos=none") << QRect();
        QTest::newRow("size=@Size(500 360)\npos=none") << QRect(200, 200, 500, 360);
    }
    void windowComesBackOnScreen()
    {
        QFETCH(QRect, expected);
        QVERIFY(writeFile(file(), "[MainFrame]\n" + QByteArray(QTest::currentDataTag()) + '\n'));
        QWidget window;
        Options options;
        options.restoreGeometry("MainFrame"_q, &window);
        const QRect place(window.pos(), window.size());
        const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
        QCOMPARE(place, expected.isValid() ? expected : place & screen);
        QVERIFY(place.height() >= 150);
    }

    void columnsComeBack()
    {
        QTableWidget table(0, 2);
        table.setColumnWidth(1, 80);
        Options options;
        options.saveColumns("Table"_q, &table);
        table.setColumnWidth(1, 90);
        QVERIFY(options.restoreColumns("Table"_q, &table, "1,2"_q));
        QCOMPARE(table.columnWidth(1), 80);
    }

private:
    QString file() const { return m_sandbox.path("config/Quarnitek/Corvane Reelkeeper.conf"_q); }
    static QList<int> values(const Options &o)
    {
        QList<int> all;
        all << o.sourceQuality << o.outputFormat << o.deleteFinishedVideo << o.lastActiveTable
            << o.queryOnExit << o.autoOpenNew << o.notifyWhenFinished << o.shutDownWhenAllFinished
            << o.trayNotifyDuration << o.showMainFrame << o.jsVersion << o.firstCloseMainFrame
            << o.enableLogging << o.deleteTempFile << o.appendDeviceName << o.removeUpdateFile;
        return all;
    }
};

REELKEEPER_TEST_MAIN(TestOptions)
#include "tst_options.moc"
