#include "cjslib.h"
#include "options.h"
#include "siteprofile.h"
#include "testmain.h"

#include <QDir>
#include <QMessageBox>
#include <QPushButton>
#include <QThread>
#include <QTimer>

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

    void manifestCodes()
    {
        static const struct
        {
            const char *xml;
            int result;
        } cases[] = {
            {"<js version='5' size='' path=''/>SITES<x/>JS<!-- c -->", 7},
            {"<js version='' size='' path=''/>SITES", 0},
            {"JS", 7},
            {"JS<sites><domain name='d'><f des='' name='site/s'/></domain></sites>", 7},
            {"<js>", -2},
            {"<js version='7' path=''/>SITES", -3},
            {"JS<sites><domain name='d'><f des='' name='s'/><!-- c --></domain></sites>", -4},
            {"JS<sites><domain name='d'><f name='s'/></domain></sites>", -4},
            {"JS<sites><domain name='d'/></sites>", -4},
            {"JS<sites><domain><f des='' name='s'/></domain></sites>", -4},
            {"JS<sites><x/></sites>", -4},
            {"SITES", -5},
            {"JS<sites><domain name='d'><f des='' name='../s'/></domain></sites>", -6},
            {"JS<sites><domain name='d'><f des='' name='a/. ./../s'/></domain></sites>", -6},
            {"JS<sites><domain name='d'><f des='' name='/etc/s'/></domain></sites>", -6},
            {"JS<sites><domain name='d'><f des='' name='..\\s'/></domain></sites>", -6},
            {"JS<sites><domain name='d'><f des='' name='c:s'/></domain></sites>", -6},
            {"JS<sites><domain name='d'><f des='' name=' '/></domain></sites>", -6},
            {"<js version='-1' size='' path=''/>SITES", -7},
        };
        for (const auto &row : cases) {
            QByteArray xml(row.xml);
            xml.replace("JS", "<js version='7' size='1' path='http://h/'/>");
            xml.replace("SITES", "<sites><domain name='d'><f des='' name='s'/></domain></sites>");
            write(QStringLiteral("Profile.xml"), "<profile>" + xml + "</profile>");
            const int result = SiteProfile().load(file(QStringLiteral("Profile.xml")));
            QVERIFY2(result == row.result, row.xml);
        }
        QCOMPARE(SiteProfile().load(file(QStringLiteral("missing"))), -1);
    }

    void manifestContent()
    {
        SiteProfile profile;
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

    void scriptResult()
    {
        static const struct
        {
            QByteArray script;
            const char *expected;
        } cases[] = {
            {"typeof strWebBuffer + strWebBuffer.toString()", "objectthe page"},
            {"var a = 1; a + 1; if (a) 'x&amp;'; else 'y'", "x&amp;"},
            {"throw new Error('broken')", "Error: broken"},
            {"", "undefined"},
            {"[typeof print, typeof gc, typeof version].join()", "undefined,undefined,undefined"},
            {QByteArray("\xFF\xFE'\0\x1F\x04'\0", 8), "П"},
        };
        for (const auto &row : cases) {
            write(QStringLiteral("site"), row.script);
            QCOMPARE(parse().streamText, QString::fromUtf8(row.expected));
        }
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

    void unescape()
    {
        QCOMPARE(unescapeHtml(QStringLiteral("&quot;&#39;&amp;&lt;&gt;&nbsp;&LT;")),
                 QStringLiteral("\"'&<> &LT;"));
        QCOMPARE(unescapeHtml(QStringLiteral("&amp;lt;&amp;gt;&amp;nbsp;&amp;quot;&amp;#39;")),
                 QStringLiteral("<> &quot;&#39;"));
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
