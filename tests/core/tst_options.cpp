#include "options.h"
#include "testmain.h"

#include <QGuiApplication>
#include <QScreen>
#include <QTableWidget>

// The settings file: defaults, round trip, damage; windows and columns that come back usable.
class TestOptions final : public QObject
{
    Q_OBJECT

public:
    explicit TestOptions(Sandbox &sandbox)
        : m_sandbox(sandbox)
        , m_file(sandbox.path(QStringLiteral("config/Quarnitek/Corvane Reelkeeper.conf")))
    {
    }

private slots:
    void init() { QFile::remove(m_file); }

    void firstStart()
    {
        Options options;
        QCOMPARE(options.jsVersion, -1);
        QVERIFY(options.load());
        QCOMPARE(options.outputFolder,
                 m_sandbox.path(QStringLiteral("documents/Corvane Reelkeeper/")));
        QVERIFY(QDir(options.outputFolder).exists());
        QCOMPARE(options.jsPath,
                 m_sandbox.path(QStringLiteral("data/Quarnitek/Corvane Reelkeeper/script/")));
        QVERIFY(QDir(options.jsPath).exists());
        QCOMPARE(numbers(options), (QList<int>{2, 0, 0, 0, 1, 1, 1, 0, 5, 1, 100, 1}));
        QCOMPARE(debugFlags(options), (QList<bool>{false, true, false, true}));
        QVERIFY(!QFile::exists(m_file));
    }

    void savedValuesComeBack()
    {
        QVERIFY(writeFile(m_file, "[Debug]\nEnable%20Logging=true\nDelete Temp File=0\n"));
        {
            Options options;
            options.load();
            options.outputFolder = m_sandbox.path(QStringLiteral("my, é \"videos\"/"));
            options.sourceQuality = 4;
            options.outputFormat = 31;
            options.deleteFinishedVideo = true;
            options.lastActiveTable = 1;
            options.queryOnExit = false;
            options.autoOpenNew = false;
            options.notifyWhenFinished = false;
            options.shutDownWhenAllFinished = true;
            options.trayNotifyDuration = 9;
            options.showMainFrame = false;
            options.jsVersion = 438;
            options.firstCloseMainFrame = false;
            options.jsPath = m_sandbox.scriptFolder();
            options.deleteTempFile = true;
            options.save();
        }
        Options options;
        options.load();
        QCOMPARE(options.outputFolder, m_sandbox.path(QStringLiteral("my, é \"videos\"/")));
        QCOMPARE(numbers(options), (QList<int>{4, 31, 1, 1, 0, 0, 0, 1, 9, 0, 438, 0}));
        QCOMPARE(debugFlags(options), (QList<bool>{true, false, false, true}));
        QVERIFY(options.jsPath != m_sandbox.scriptFolder());
    }

    void damagedFile_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("quality");
        QTest::addColumn<bool>("ask");
        QTest::newRow("words") << QByteArray("Source Quality=many\nQuery on Exit=maybe") << 2
                               << true;
        QTest::newRow("lists") << QByteArray("Source Quality=1,2\nQuery on Exit=0,1") << 2 << true;
        QTest::newRow("too large") << QByteArray("Source Quality=99999999999") << 2 << true;
        QTest::newRow("numbers") << QByteArray("Source Quality=-7\nQuery on Exit=0") << -7 << false;
        QTest::newRow("no settings") << QByteArray("\0\xff=[[\n@Variant(\\0)", 16) << 2 << true;
    }
    void damagedFile()
    {
        QFETCH(QByteArray, text);
        QVERIFY(writeFile(m_file, "[Options]\nOutput Folder=\n" + text));
        Options options;
        options.load();
        QTEST(options.sourceQuality, "quality");
        QTEST(options.queryOnExit, "ask");
        QCOMPARE(options.outputFolder, Options::defaultOutputFolder());
    }

    void foldersEndWithSeparator()
    {
        const QString folder = m_sandbox.path(QStringLiteral("by hand"));
        QVERIFY(writeFile(m_file, "[Options]\nOutput Folder=" + folder.toUtf8() +
                                      "\nJS Path=" + folder.toUtf8() + '\n'));
        Options options;
        options.load();
        QCOMPARE(options.outputFolder, folder + QLatin1Char('/'));
        QCOMPARE(options.jsPath, folder + QLatin1Char('/'));
    }

    void windowComesBackOnScreen_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QRect>("expected"); // invalid: anywhere on the primary screen
        QTest::newRow("as left") << QStringLiteral("size=@Size(500 360)\npos=@Point(30 40)")
                                 << QRect(30, 40, 500, 360);
        QTest::newRow("partly outside") << QStringLiteral("size=@Size(500 360)\npos=@Point(-90 40)")
                                        << QRect(-90, 40, 500, 360);
        for (const char *stored :
             {"size=@Size(500 360)\npos=@Point(9000 9000)",
              "size=@Size(500 360)\npos=@Point(-480 40)", "size=@Size(500 360)\npos=@Point(40 -25)",
              "size=@Size(500 360)\npos=@Point(-2147483648 2147483647)",
              "size=@Size(2147483647 2147483647)\npos=@Point(10 10)",
              "size=@Size(1 1)\npos=@Point(10 10)", "size=@Size(-5 0)\npos=none", "size=wide"})
            QTest::newRow(stored) << QString::fromLatin1(stored) << QRect();
    }
    void windowComesBackOnScreen()
    {
        QFETCH(QString, stored);
        QFETCH(QRect, expected);
        QVERIFY(writeFile(m_file, "[MainFrame]\n" + stored.toLatin1() + '\n'));
        QWidget window;
        window.setMinimumSize(320, 240);
        Options options;
        QVERIFY(options.restoreGeometry(QStringLiteral("MainFrame"), &window));
        const QRect place(window.pos(), window.size());
        if (expected.isValid()) {
            QCOMPARE(place, expected);
        } else {
            QVERIFY2(QGuiApplication::primaryScreen()->availableGeometry().contains(place),
                     QTest::toString(place));
            QVERIFY(place.width() >= 320 && place.height() >= 240);
        }
        options.saveGeometry(QStringLiteral("Copy"), &window);
        QWidget copy;
        options.restoreGeometry(QStringLiteral("Copy"), &copy);
        QCOMPARE(QRect(copy.pos(), copy.size()), place);
    }

    void columns_data()
    {
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<bool>("result");
        QTest::addColumn<QList<int>>("widths");
        QTest::newRow("nothing stored") << QByteArray() << true << QList<int>{387, 386};
        QTest::newRow("stored") << QByteArray("Columns=\"50,60\"") << true << QList<int>{50, 60};
        QTest::newRow("by hand") << QByteArray("Columns=50,60") << true << QList<int>{50, 60};
        QTest::newRow("too many") << QByteArray("Columns=\"1,2,3\"") << true << QList<int>{70, 80};
        QTest::newRow("empty") << QByteArray("Columns=") << false << QList<int>{70, 80};
        QTest::newRow("negative") << QByteArray("Columns=\"-1,90\"") << true << QList<int>{70, 90};
    }
    void columns()
    {
        QFETCH(QByteArray, stored);
        QVERIFY(writeFile(m_file, "[Finished TableWidget]\n" + stored + '\n'));
        QTableWidget table(0, 2);
        table.setColumnWidth(0, 70);
        table.setColumnWidth(1, 80);
        const QString name = QStringLiteral("Finished TableWidget");
        Options options;
        QTEST(options.restoreColumns(name, &table, QStringLiteral("387,386")), "result");
        QTEST((QList<int>{table.columnWidth(0), table.columnWidth(1)}), "widths");
        options.saveColumns(name, &table);
        QTableWidget copy(0, 2);
        QVERIFY(options.restoreColumns(name, &copy, QString()));
        QTEST((QList<int>{copy.columnWidth(0), copy.columnWidth(1)}), "widths");
    }

private:
    static QList<int> numbers(const Options &options)
    {
        return {options.sourceQuality,       options.outputFormat,
                options.deleteFinishedVideo, options.lastActiveTable,
                options.queryOnExit,         options.autoOpenNew,
                options.notifyWhenFinished,  options.shutDownWhenAllFinished,
                options.trayNotifyDuration,  options.showMainFrame,
                options.jsVersion,           options.firstCloseMainFrame};
    }
    static QList<bool> debugFlags(const Options &options)
    {
        return {options.enableLogging, options.deleteTempFile, options.appendDeviceName,
                options.removeUpdateFile};
    }

    Sandbox &m_sandbox;
    QString m_file;
};

REELKEEPER_TEST_MAIN(TestOptions)
#include "tst_options.moc"
