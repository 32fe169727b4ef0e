#include "cjslib.h"
#include "literals.h"
#include "options.h"
#include "testmain.h"

#include <QDir>
#include <QThread>

class TestSiteScripts final : public QObject
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

    void firstScriptNamedInTheHostMatches()
    {
        for (const char *name : {"sub_1/deep/q", "b.test", "video", "b.test_title", "half_temp"})
            write(name, "1");
        QVERIFY(QFile::link(m_sandbox.scriptFolder(), file("sub_1/loop")));
        CJSLib library;
        library.loadScripts();
        QStringList paths;
        for (const SiteScript &script : library.scripts())
            paths += script.path.mid(m_sandbox.scriptFolder().size());
        QCOMPARE(paths.join(QLatin1Char(' ')), "sub_1/deep/q b.test video"_q);
        QCOMPARE(library.matchHost("www.video.b.test"_q)->name, "b.test"_q);
        QCOMPARE(library.matchHost("www.video.c.test"_q)->name, "video"_q);
        QVERIFY(!library.matchHost("other.host"_q));
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
            {"[typeof print, typeof gc, typeof version].join()", "undefined,undefined,undefined"},
            {QByteArray("\xFF\xFE'\0\x1F\x04'\0", 8), "П"},
        };
        for (const auto &row : cases) {
            write("site", row.script);
            QCOMPARE(parse().streamText, QString::fromUtf8(row.expected));
        }
    }

    void companionScripts()
    {
        write("site", "var seen = '&amp;lt;Fish&gt; &amp; &quot;Chips&#39;'");
        write("site_title", "seen");
        write("site_description", "seen = undeclared");
        const VideoInfo info = parse();
        QCOMPARE(info.title, "<Fish> & \"Chips'"_q);
        QCOMPARE(info.keyword, "undefined"_q);
        QVERIFY(info.description.startsWith("ReferenceError: "_q));
        write("site", "typeof seen");
        QCOMPARE(parse().streamText, "undefined"_q);
    }

    void otherThreadIsNeverHeld()
    {
        write("site", "alert('no box')");
        write("site_title", "while (true) {}");
        VideoInfo info;
        std::unique_ptr<QThread> thread(QThread::create([this, &info] { info = parse(); }));
        thread->start();
        QVERIFY(!thread->wait(300)); // it is inside the endless script
        thread->requestInterruption();
        QVERIFY(thread->wait(5000));
        QCOMPARE(info.streamText, "0"_q);
    }

private:
    QString file(const char *name) const
    {
        return m_sandbox.scriptFolder() + QString::fromLatin1(name);
    }
    void write(const char *name, const QByteArray &text) { QVERIFY(writeFile(file(name), text)); }
    VideoInfo parse() const { return CJSLib().parsePage("host"_q, "the page"_q, file("site")); }

    Sandbox &m_sandbox;
};

REELKEEPER_TEST_MAIN(TestSiteScripts)
#include "tst_sitescripts.moc"
