#include "literals.h"
#include "testmain.h"

#include <QProcess>
#include <QRegularExpression>

class TestChecker final : public SandboxTest
{
    Q_OBJECT

public:
    using SandboxTest::SandboxTest;

private slots:
    void init() { QVERIFY(QDir(m_sandbox.path("try"_q)).removeRecursively()); }

    void scripts()
    {
        const QByteArray good = "'640x360$$$mp4|http://h/x'";
        const QByteArray loop = "while (true) { try { while (true) {} } catch (e) {} }";
        const QByteArray recursion = "function f() { try { f(); } catch (e) { f(); } } f();";
        const QByteArray nested = "var s = ''; for (var i = 0; i < 100000; ++i) s += '(a';"
                                  "new RegExp(s + s.replace(/.a/g, ')')).test('a')";
        const QByteArray four = "alert('\\u001b[2J'); '640x360$1$$mp4|http://h/a%20b%2F||"
                                "640x360$2$$mp4|http://h/a%20b%2F||1x1$|http://h||a|b|c||"
                                "854x480$$$mp4|h/x'";
        const QByteArray many = "for (var i = 0, a = []; i < 1002; ++i) a.push('1x1$$$mp4|h/' + i);"
                                "a.join('||')";
        const QByteArray latin =
            "<head><meta content=\"text/html; charset=ISO-8859-1\"></head>\xfc";
        const struct
        {
            QByteArray script, title;
            QByteArray page, url;
            int code;
            const char *lines; // that are there, in this order
        } cases[] = {
            {four, "'&lt;a: ' + strWebBuffer", "p", "http://www.example.org/v", 0,
             "alert: \\u001b[2J\n1 kept: 640x360$1$\nfetched from http://h/a b%2F\n2 duplicate\n"
             "3 left out, not four\n4 left out, not two\nfetched from http://h/x\n"
             "quality 240p, 360p: record 1\nrecord 5\ntitle: <a: p\nfile name: _a_ p"},
            {four, good, "p", "https://www.example.org/v", 0,
             "1 kept: 640x360$1$$mp4|http://h/a%20b%2F\n    2 dup\n5 left out, no address"},
            {many, good, "p", "", 0, "1000 kept\n1001 and those behind it left out, more than"},
            {good, "String(strWebBuffer).slice(-1)", latin, "", 0, "title: \xc3\xbc"},
            {"'1$$$webm|http://h'", good, "p", "", 0, "knows its size\ntype without mp4"},
            {good, good, "p", "http://example.com/v?1", 1,
             "problem: the script is not for this page"},
            {"'640x360$$$mp4|https://h/x'", good, "p", "", 1,
             "problem: record 1 cannot be fetched from its address: without"},
            {"'$Error:because'", good, "p", "", 1, "problem: the script finds no video: because"},
            {"''", good, "p", "", 1, "problem: the script finds no video and does not say why"},
            {"'a'", good, "p", "", 1, "problem: no record can be used"},
            {"var a = 1", good, "p", "", 1, "problem: there is no list of streams"},
            {good, "", "p", "", 1, "_title\n    is not there\nproblem: no title"},
            {good, "var t", "p", "", 1, "title: undefined\nproblem: no title"},
            {good, "' '", "p", "", 1, "problem: no title"},
            {"function f() {\nnull.x; }\n" + good, "\n\n\nf()", "p", "", 1,
             "problem: an exception in example.org, line 2: TypeError\nproblem: no title"},
            {good, "1;\nvar = 1", "p", "", 1, "in example.org_title, line 2: SyntaxError"},
            {good, loop, "p", "", 1, "did not end within 0.3 s and was ended"},
            {recursion, good, "p", "", 1, "within 0.3 s and could not be ended"},
            {nested, good, "p", "", 1, "run example.org\nproblem: the script brings down"},
        };
        for (const auto &row : cases) {
            init();
            QVERIFY(write("example.org", row.script) && write("page", row.page));
            QVERIFY(row.title.isEmpty() || write("example.org_title", row.title));
            QStringList arguments = {file("example.org"), file("page")};
            if (row.title == loop || row.script == recursion)
                arguments += {"--limit"_q, "300"_q};
            if (!row.url.isEmpty())
                arguments += {"--url"_q, QString::fromLatin1(row.url)};
            check(arguments, row.code);
            holds(row.lines);
        }
    }

    void damaged()
    {
        QVERIFY(write("s", "1") && write("empty", "") && write("folder/x", ""));
        QFile large(file("large"));
        QVERIFY(large.open(QIODevice::WriteOnly) && large.resize(16 * 1024 * 1024 + 1));
        const QString s = file("s");
        const QStringList cases[] = {
            {},
            {s},
            {s, s, s},
            {"--nope"_q},
            {file("no\nne"), s},
            {s, file("none")},
            {s, file("empty")},
            {s, file("large")},
            {file("folder"), s},
            {s, s, "--url"_q, "ftp://"_q},
            {s, s, "--url"_q, "https://other.org/"_q},
            {s, s, "--limit"_q, "x"_q},
            {"--manifest"_q},
            {"--manifest"_q, file("none")},
            {"--manifest"_q, file("folder")},
            {"--manifest"_q, file("folder"), s},
        };
        for (const QStringList &arguments : cases) {
            check(arguments, 2);
            QCOMPARE(m_output, QByteArray());
            QVERIFY2(m_error.startsWith("reelkeeper-check: ") && m_error.count('\n') == 1, m_error);
        }
    }

    void manifests()
    {
        const QByteArray good = "<p><js version='102' size='10' path='http://h/s/'/><sites>\n"
                                "<domain name='d'><f des='' name='example.org'/>\n"
                                "<f des='' name='example.org_title'/></domain></sites></p>";
        const struct
        {
            const char *before, *after; // in the manifest
            const char *name, *bytes;   // a file beside it
            const char *problem;
        } cases[] = {
            {"", "", "", "", ""},
            {"102", "100", "", "", "version 100 is what a new installation has"},
            {"102", "1.2", "", "", "version is no whole number"},
            {"'10'", "'9'", "", "", "size is 9, the files have 10 bytes"},
            {"/s/", "/s", "", "", "path is no address"},
            {"<js", "<js version='1' size='' path=''/><js", "", "", "several js"},
            {"<js", "<j", "", "", "Profile.xml: no js element"},
            {"sites>", "s>", "", "", "no sites element"},
            {"size=", "s=", "", "", "Profile.xml: line 1: js lacks"},
            {"</p>", "", "", "", "Profile.xml: line 3: not well-formed"},
            {"<js", "<!DOCTYPE p [<!ENTITY e '", "", "", "not well-formed"},
            {"<f", "<!-- --><f", "", "", "line 2: a domain holds #comment"},
            {"name='d'", "", "", "", "line 2: a domain without a name"},
            {"example.org_", "../example.org_", "", "", "line 3: the name ../example.org_title"},
            {"example.org'", "Example.org'", "", "", "Example.org: no host has this name"},
            {"example.org'", "my_site'", "", "", "my_site: the name of a script has no _"},
            {"example.org'", "a.org'", "", "", "a.org is not there"},
            {"example.org'", "a.org'", "", "", "example.org_title: its script is not listed"},
            {"example.org'", "a.org'", "", "", "a.org: no _title"},
            {"example.org_title", "example.org", "", "", "listed more than once"},
            {"example.org'", "a.example.org'", "a.ex", "", "a.ex: no entry lists it"},
            {"example.org'", "tv.example.org'", "tv.example.org", "12345",
             "never used, example.org"},
            {"example.org'", ".example'", ".example", "12345", "never used, hidden"},
            {"example.org'", "b/xn--mller-kva.de'", "b/xn--mller-kva.de", "12345",
             "b/xn--mller-kva.de: no host has this name"},
            {"<f", "<f des='' name='a/example.org'/><f", "a/example.org", "1",
             "example.org: never used, a/example.org"},
            {"", "", "example.org", "", "example.org is empty"},
            {"", "", "example.org", "1;\n\xe9\n", "example.org, line 2 is not ASCII"},
        };
        const QStringList arguments = {"--manifest"_q, file()};
        for (const auto &row : cases) {
            init();
            QVERIFY(write("Profile.xml", good) && write("example.org", "12345") &&
                    write("example.org_title", "12345"));
            QVERIFY(write("Profile.xml", QByteArray(good).replace(row.before, row.after)));
            QVERIFY(!*row.name || write(row.name, row.bytes));
            check(arguments, *row.problem ? 1 : 0);
            holds((*row.problem ? "problem: \n" : "version 102, 1 domains, 2 files, 10 bytes") +
                  QByteArray(row.problem));
        }
        check({"--manifest"_q, QStringLiteral(SITE_SCRIPTS)}, 0);
    }

    // The first texts set off in it are a script, its title, a page, and what is said of them.
    void documentIsTrue()
    {
        QByteArrayList blocks = {QByteArray()};
        for (const QByteArray &line : readFile(QStringLiteral(DOCUMENT)).split('\n')) {
            if (line.startsWith("    "))
                blocks.last() += line.mid(4) + '\n';
            else if (!line.isEmpty() && !blocks.last().isEmpty())
                blocks.append(QByteArray());
        }
        QVERIFY(write("example.org", blocks.value(0)) && write("page.html", blocks.value(2)));
        QVERIFY(write("example.org_title", blocks.value(1)));
        check({file("example.org"), file("page.html")}, 0);
        const auto timeless = [](const QByteArray &text) {
            return QString::fromUtf8(text).remove(QRegularExpression("\\d+ ms"_q));
        };
        QCOMPARE(timeless(m_output), timeless(blocks.value(3)));
    }

private:
    QString file(const char *name = "") const
    {
        return m_sandbox.path("try/"_q + QLatin1String(name));
    }
    bool write(const char *name, const QByteArray &bytes) { return writeFile(file(name), bytes); }

    void check(const QStringList &arguments, int code)
    {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("REELKEEPER_SECURE_HOSTS"_q, "example.org"_q);
        for (const auto &name : {"ASAN_OPTIONS"_q, "TSAN_OPTIONS"_q, "UBSAN_OPTIONS"_q})
            environment.insert(name, environment.value(name) + ":handle_segv=0"_q);
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(CHECKER), arguments);
        QVERIFY(process.waitForFinished());
        m_output = process.readAllStandardOutput();
        m_error = process.readAllStandardError();
        QVERIFY2(process.exitCode() == code, m_output + m_error);
    }

    void holds(const QByteArray &texts) const
    {
        int position = 0;
        for (const QByteArray &text : texts.split('\n')) {
            position = m_output.indexOf(text, position);
            QVERIFY2(position >= 0, text + " is not in\n" + m_output);
        }
    }

    QByteArray m_output;
    QByteArray m_error;
};

REELKEEPER_TEST_MAIN(TestChecker)
#include "tst_checker.moc"
