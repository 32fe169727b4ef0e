#include "cjslib.h"
#include "options.h"
#include "siteprofile.h"
#include "testmain.h"

#include <QDir>
#include <QMessageBox>
#include <QPushButton>
#include <QThread>
#include <QTimer>

namespace {
const QByteArray domain = "<sites><domain name='d'><f des='' name='s'/></domain></sites>";
const QByteArray server = "<js version='7' size='1' path='http://h/'/>";
} // namespace

class TestSiteScripts : public QObject
{
    Q_OBJECT

public:
    explicit TestSiteScripts(Sandbox &sandbox)
        : m_sandbox(sandbox)
    {
        sandbox.loadOptions();
    }

private slots:
    void init()
    {
        QVERIFY(QDir(m_sandbox.scriptFolder()).removeRecursively());
        QVERIFY(QDir().mkpath(m_sandbox.scriptFolder()));
    }

    void listsSubfoldersFirst()
    {
        const QStringList expected = {QStringLiteral("sub_1/deep/q"),
                                      QStringLiteral("sub_1/z.test"), QStringLiteral("B.test"),
                                      QStringLiteral("a.test"), QStringLiteral("video")};
        for (const QString &name : expected)
            write(name, "1");
        write(QStringLiteral("a.test_title"), "1");
        write(QStringLiteral("half_temp"), "1");
        QVERIFY(QFile::link(m_sandbox.scriptFolder(), file(QStringLiteral("sub_1/loop"))));
        CJSLib library;
        library.loadScripts();
        QStringList paths;
        for (const SiteScript &script : library.scripts()) {
            paths.append(script.path.mid(m_sandbox.scriptFolder().size()));
            QCOMPARE(script.name, script.path.section(QLatin1Char('/'), -1));
        }
        QCOMPARE(paths, expected);

        const auto matched = [&library](const char *host) {
            const SiteScript *script = library.matchHost(QLatin1String(host));
            return script ? script->name : QString();
        };
        QCOMPARE(matched("www.video.a.test"), QStringLiteral("a.test"));
        QCOMPARE(matched("www.video.b.test"), QStringLiteral("video"));
        QCOMPARE(matched("other.host"), QString());
        QCOMPARE(matched(""), QString());

        QVERIFY(QDir(m_sandbox.scriptFolder()).removeRecursively());
        library.loadScripts();
        QVERIFY(library.scripts().isEmpty());
    }

    void manifest_data()
    {
        QTest::addColumn<QByteArray>("xml");
        QTest::addColumn<int>("result");
        const auto named = [](const QByteArray &name) {
            return server + QByteArray(domain).replace("name='s'", "name='" + name + "'");
        };
        const auto children = [](const QByteArray &xml) {
            return server + "<sites><domain name='d'>" + xml + "</domain></sites>";
        };
        QTest::newRow("good") << server + domain << 7;
        QTest::newRow("last server wins")
            << "<js version='5' size='' path=''/>" + domain + server << 7;
        QTest::newRow("other elements") << "<x/>" + server + "<!-- c -->" + domain << 7;
        QTest::newRow("empty version") << "<js version='' size='' path=''/>" + domain << 0;
        QTest::newRow("no sites") << server << 7;
        QTest::newRow("subfolder") << named("site/s") << 7;
        QTest::newRow("not XML") << QByteArray("<js>") << -2;
        QTest::newRow("no size") << "<js version='7' path=''/>" + domain << -3;
        QTest::newRow("comment among the files")
            << children("<f des='' name='s'/><!-- c -->") << -4;
        QTest::newRow("no des") << children("<f name='s'/>") << -4;
        QTest::newRow("no file") << children("") << -4;
        QTest::newRow("unnamed domain")
            << server + QByteArray(domain).replace("name='d'", "") << -4;
        QTest::newRow("no domain") << server + "<sites><x/></sites>" << -4;
        QTest::newRow("no server") << domain << -5;
        QTest::newRow("parent folder") << named("../s") << -6;
        QTest::newRow("parent folder inside") << named("a/../../s") << -6;
        QTest::newRow("parent folder with blanks") << named(". ./s") << -6;
        QTest::newRow("absolute") << named("/etc/s") << -6;
        QTest::newRow("backslash") << named("..\\s") << -6;
        QTest::newRow("drive") << named("c:s") << -6;
        QTest::newRow("empty name") << named(" ") << -6;
        QTest::newRow("negative version") << "<js version='-1' size='' path=''/>" + domain << -7;
    }
    void manifest()
    {
        QFETCH(QByteArray, xml);
        write(QStringLiteral("Profile.xml"), "<profile>" + xml + "</profile>");
        SiteProfile profile;
        QTEST(profile.load(file(QStringLiteral("Profile.xml"))), "result");
    }
    void manifestContent()
    {
        SiteProfile profile;
        QCOMPARE(profile.load(file(QStringLiteral("missing"))), -1);
        write(QStringLiteral("Profile.xml"),
              "<p><js version='3' size='9' path='http://h/p/'/><sites>"
              "<domain name='d'><f des='x' name=' a b '/><g des='' name='c'/></domain></sites>"
              "<sites><domain name='e'><f des='' name='z'/></domain></sites></p>");
        QCOMPARE(profile.load(file(QStringLiteral("Profile.xml"))), 3);
        QStringList asked;
        const auto fetch = [&asked](const QString &url, const QString &path) {
            asked << url << path;
            return asked.size() < 4;
        };
        QVERIFY(!profile.downloadScripts(QStringLiteral("dir/"), fetch));
        QCOMPARE(asked, QStringList({QStringLiteral("http://h/p/ab"), QStringLiteral("dir/ab"),
                                     QStringLiteral("http://h/p/c"), QStringLiteral("dir/c")}));
        QCOMPARE(profile.domains.size(), 2);
    }

    void scriptResult_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<QString>("expected");
        QTest::newRow("page text") << QByteArray("strWebBuffer.toString() + '!'") << "the page!";
        QTest::newRow("variant object") << QByteArray("typeof strWebBuffer") << "object";
        QTest::newRow("completion value")
            << QByteArray("var a = 1; a + 1; if (a) 'x'; else 'y'") << "x";
        QTest::newRow("not unescaped") << QByteArray("'a&amp;b'") << "a&amp;b";
        QTest::newRow("exception") << QByteArray("throw new Error('broken')") << "Error: broken";
        QTest::newRow("no statement") << QByteArray() << "undefined";
        QTest::newRow("nothing else is handed in")
            << QByteArray("[typeof print, typeof gc, typeof version, alert.length].join()")
            << "undefined,undefined,undefined,0";
        QTest::newRow("byte-order mark")
            << QByteArray("\xFF\xFE'\0\x1F\x04'\0", 8) << QString(QChar(0x41F));
    }
    void scriptResult()
    {
        QFETCH(QByteArray, script);
        write(QStringLiteral("site"), script);
        QTEST(parse().streamText, "expected");
    }

    void companionScripts()
    {
        write(QStringLiteral("site"), "var seen = 'Fish &amp; Chips'; 'streams'");
        write(QStringLiteral("site_title"), "seen");
        write(QStringLiteral("site_description"), "seen = undeclared");
        const VideoInfo info = parse();
        QCOMPARE(info.pageUrl, QStringLiteral("host/page"));
        QCOMPARE(info.streamText, QStringLiteral("streams"));
        QCOMPARE(info.title, QStringLiteral("Fish & Chips"));
        QCOMPARE(info.keyword, QStringLiteral("undefined"));
        QVERIFY(info.description.startsWith(QStringLiteral("ReferenceError: ")));
        write(QStringLiteral("site"), "typeof seen");
        QCOMPARE(parse().streamText, QStringLiteral("undefined"));
    }

    void unescape_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("all") << "&quot;&#39;&amp;&lt;&gt;&nbsp;"
                             << "\"'&<> ";
        QTest::newRow("twice") << "&amp;lt;&amp;gt;&amp;nbsp;"
                               << "<> ";
        QTest::newRow("once") << "&amp;quot;&amp;#39;&amp;amp;"
                              << "&quot;&#39;&amp;";
        QTest::newRow("case") << "&LT;&copy;"
                              << "&LT;&copy;";
    }
    void unescape()
    {
        QFETCH(QString, text);
        QTEST(unescapeHtml(text), "expected");
    }

    void alertShowsABox()
    {
        write(QStringLiteral("site"), "'=' + alert('look', 2)");
        QString seen;
        QTimer::singleShot(0, this, [&seen] {
            auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            QVERIFY(box);
            seen = box->windowTitle() + box->text();
            QCOMPARE(box->standardButtons(), QMessageBox::StandardButtons(QMessageBox::Yes));
            box->button(QMessageBox::Yes)->click();
        });
        QCOMPARE(parse().streamText, QStringLiteral("=0"));
        QCOMPARE(seen, QStringLiteral("QAlertlook"));
    }

    void otherThreadIsNeverHeld()
    {
        write(QStringLiteral("site"), "alert('no box')");
        write(QStringLiteral("site_title"), "while (true) {}");
        VideoInfo info;
        std::unique_ptr<QThread> thread(QThread::create([this, &info] { info = parse(); }));
        thread->start();
        QVERIFY(!thread->wait(300)); // it is inside the endless script
        thread->requestInterruption();
        QVERIFY(thread->wait(5000));
        QCOMPARE(info.streamText, QStringLiteral("0"));
    }

private:
    QString file(const QString &name) const { return m_sandbox.scriptFolder() + name; }
    void write(const QString &name, const QByteArray &text)
    {
        QVERIFY(writeFile(file(name), text));
    }
    VideoInfo parse() const
    {
        return CJSLib().parsePage(QStringLiteral("host/page"), QStringLiteral("the page"),
                                  file(QStringLiteral("site")));
    }

    Sandbox &m_sandbox;
};

REELKEEPER_TEST_MAIN(TestSiteScripts)
#include "tst_sitescripts.moc"
