#include "cjslib.h"
#include "literals.h"
#include "pageanalysis.h"
#include "testmain.h"

#include <QDir>
#include <QProcess>
#include <QRegularExpression>

// The published site scripts on pages in the forms of their sites, whole and damaged. A page's name
// begins with the host; the text beside it is what the checker says of the page, without the rest.
class TestSiteScripts final : public SandboxTest
{
    Q_OBJECT

public:
    using SandboxTest::SandboxTest;

private slots:
    void initTestCase()
    {
        qputenv("REELKEEPER_SECURE_HOSTS", m_hosts.join(","_q).toLatin1());
        QVERIFY(!m_pages.isEmpty());
        QCOMPARE(check({"--manifest"_q, m_folder}), 0);
    }

    void everyPageIsReadAsExpected()
    {
        const QRegularExpression rest("^(?!    \\d+ kept: |title: |keywords: |description: |"
                                      "problem: the script finds).*\n|^    \\d+ kept: "_q,
                                      QRegularExpression::MultilineOption);
        for (const QString &page : m_pages) {
            const QString host = hostOf(page);
            const int code =
                check({m_folder + host, pathOf(page), "--url"_q, "https://%1/x"_q.arg(host)});
            QString said = QString::fromUtf8(m_said);
            const QByteArray expected = readFile(pathOf(page).replace(".html"_q, ".txt"_q));
            QVERIFY2(said.remove(rest).toUtf8() == expected, qPrintable(page + "\n"_q + said));
            QCOMPARE(code == 0, !expected.startsWith("problem:"));
        }
    }

    // Whatever is missing or mixed up, the scripts end well, with records that are whole.
    void damagedPagesAreSurvived()
    {
        const QRegularExpression record(
            "^\\d+x\\d+\\$\\d*\\$[^$|]*\\$[a-z0-9]+\\|https?://\\S+$"_q);
        for (const QString &page : m_pages) {
            const QByteArray text = readFile(pathOf(page));
            QByteArray marked = text;
            for (char digit = '0'; digit <= '9'; ++digit)
                marked.replace(digit, '$');
            for (const QByteArray &damaged :
                 {marked, text.left(text.size() / 2), text.left(text.size() * 4 / 5),
                  QByteArray(text).replace("\"", ""), QByteArray(text).replace('>', ' '),
                  QByteArray(text).replace('/', '|'), QByteArray(text).replace(']', '}')}) {
                const VideoInfo info = parsed(hostOf(page), QString::fromUtf8(damaged));
                const QString said = info.streamText + info.title + info.keyword + info.description;
                QVERIFY2(!said.contains("Error: "_q) && !said.contains("undefined"_q),
                         qPrintable(page + said));
                for (const QString &stream : info.streamText.split("||"_q))
                    QVERIFY2(stream.startsWith("$Error:"_q) || record.match(stream).hasMatch(),
                             qPrintable(page + stream));
            }
        }
    }

    // A search that begins again for each piece or character would take minutes.
    void noPageTakesLong()
    {
        const QByteArray rows =
            QByteArray("<p class=\"row\"><a href=\"/x\">Some &amp; text</a>\n").repeated(8000);
        const QByteArray longBase = "<base href=\"https://h/" + QByteArray(7900, 'a') + "/\">";
        const QByteArray video = "<div id=file><video><source type=video/webm src=\"";
        QByteArrayList pages = {longBase + QByteArray("<meta name=og:video content=a.mp4>"
                                                      "<meta name=og:video content=b.mp4>")
                                               .repeated(900),
                                video + "https://h/a" + QByteArray(500000, ' ') + "b\">",
                                video + "https://h/" + QByteArray("?utm_").repeated(100000) +
                                    "\n\">"};
        for (const char *piece :
             {"<a itemprop=contentUrl>", "<video src=\"a.mp4\"><source src=b.mp4>", "<meta a=\"",
              "<dd itemprop=keywords><a><input class=js-play8-playlist value=[]>", "<!-- ",
              "<i id=file "}) {
            const QByteArray pieces = QByteArray(piece).repeated(20000);
            pages << rows + pieces << pieces + rows;
        }
        for (const QByteArray &text : qAsConst(pages)) {
            QElapsedTimer clock;
            clock.start();
            parsed("127.0.0.1"_q, QString::fromLatin1(text));
            QVERIFY2(clock.elapsed() < 3000, text.left(200));
        }
        const QByteArray deep = QByteArray(100000, '[') + QByteArray(100000, ']');
        QCOMPARE(parsed(m_hosts.first(),
                        "<script type=\"application/ld+json\">"_q + QString::fromLatin1(deep))
                     .streamText,
                 "$Error:no player"_q);
    }

private:
    int check(const QStringList &arguments)
    {
        QProcess process;
        process.start(QStringLiteral(CHECKER), arguments);
        process.waitForFinished();
        m_said = process.readAllStandardOutput();
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }
    VideoInfo parsed(const QString &host, const QString &text) const
    {
        return CJSLib().parsePage("page"_q, text, m_folder + host);
    }
    static QString hostOf(const QString &page) { return page.section("-"_q, 0, 0); }
    static QString pathOf(const QString &name) { return QStringLiteral(PAGES) + name; }

    const QString m_folder = QStringLiteral(SITE_SCRIPTS);
    const QStringList m_pages = QDir(QStringLiteral(PAGES)).entryList({"*.html"_q});
    const QStringList m_hosts =
        QDir(m_folder).entryList(QDir::Files).filter(QRegularExpression("^[^_A-Z]+$"_q));
    QByteArray m_said;
};

REELKEEPER_TEST_MAIN(TestSiteScripts)
#include "tst_sitescripts.moc"
