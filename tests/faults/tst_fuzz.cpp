#include "contentrange.h"
#include "cookies.h"
#include "encoder.h"
#include "encodercommand.h"
#include "enginefixture.h"
#include "files.h"
#include "httpget.h"
#include "httptask.h"
#include "literals.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "pageanalysis.h"
#include "siteprofile.h"

#include <random>

namespace {

constexpr int cases = 10000;

// Damaged variants of valid texts, the same ones in every run.
class Fuzzer final
{
public:
    explicit Fuzzer(const QList<QByteArray> &seeds)
        : m_seeds(seeds)
    {
    }

    QByteArray next()
    {
        static const QList<QByteArray> words =
            QByteArrayLiteral(
                "..~/~\\~../../x~%2e%2e/~\0~\xff\xfe~<~>~\"~&#0;~charset=~|~||~$~-1~x~"
                "999999999999999999999~\xed\xa0\x80~\xf0\x9f\x8e\xa5~bytes ~*/*~"
                ":~;~=~utf-16~\n")
                .split('~');
        QByteArray text = m_seeds.at(below(m_seeds.size()));
        for (int changes = below(6); changes >= 0; --changes) {
            const int at = below(text.size() + 1);
            switch (below(6)) {
            case 0:
                text.insert(at, words.at(below(words.size())));
                break;
            case 1:
                text.remove(at, 1 + below(9));
                break;
            case 2:
                text.insert(at, char(m_random()));
                break;
            case 3:
                text.insert(at, text.mid(below(text.size() + 1), 1 + below(60)));
                break;
            case 4:
                if (at < text.size())
                    text[at] = char(uchar(text.at(at)) ^ (1u << below(8)));
                break;
            default:
                text.insert(at, QByteArray(below(300), words.at(below(words.size())).at(0)));
            }
        }
        return text;
    }

    int below(int limit) { return int(m_random() % unsigned(limit)); }

private:
    QList<QByteArray> m_seeds;
    std::mt19937 m_random{1};
};

QByteArray oneLine(QByteArray text)
{
    return text.replace('\n', ' ').replace('\r', ' ').replace('\0', ' ');
}

} // namespace

class FuzzTest final : public EngineTest
{
    Q_OBJECT

public:
    using EngineTest::EngineTest;

private slots:
    void init()
    {
        m_sandbox.loadOptions();
        QDir(m_folder).removeRecursively();
        QVERIFY(QDir().mkpath(m_folder));
        Options::instance()->outputFolder = m_folder;
    }

    // Nothing may have been written anywhere else.
    void cleanup() { QCOMPARE(QDir(m_sandbox.path()).entryList(QDir::Files), QStringList()); }

    void pagesAndCharsets()
    {
        Fuzzer fuzzer({"<html><head><meta http-equiv=\"Content-Type\" content=\"text/html; "
                       "charset=utf-8\"></head><body>\xe6\x97\xa5</body></html>",
                       "<head><meta charset=\"shift_jis\"></head>\x93\xfa\x96\x7b",
                       "<head><meta x=\"charset=utf-16\"></head>ab"});
        m_site.server.setHandler("/page", [&](const HttpRequest &) { // server's thread only
            return HttpResponse::text(fuzzer.next());
        });
        HttpGet fetcher;
        int read = 0;
        for (int i = 0; i < cases; ++i)
            read += fetcher.get(QUrl(m_site.server.url("/page"_q))).isEmpty() ? 0 : 1;
        QVERIFY(read > cases / 2);
    }

    void cookieHeaders()
    {
        Fuzzer fuzzer(
            {"id=1; path=/; expires=Thu, 01 Jan 2099 00:00:00 GMT", "a=\"b;c\"; HttpOnly"});
        m_site.server.setHandler("/page", [&](const HttpRequest &) {
            HttpResponse response = HttpResponse::text("x");
            for (int count = fuzzer.below(3); count >= 0; --count)
                response.headers.append({"Set-Cookie", oneLine(fuzzer.next())});
            return response;
        });
        std::unique_ptr<Cookies> cookies;
        for (int i = 0; i < cases; ++i) {
            if (i % 100 == 0) // it keeps every cookie it was ever given
                cookies = std::make_unique<Cookies>();
            const QString text = cookies->start(m_site.server.url("/page"_q));
            QVERIFY(!text.contains(QLatin1Char('\n')) && !text.contains(QLatin1Char('\r')));
        }
    }

    void manifests()
    {
        Fuzzer fuzzer({"<?xml version=\"1.0\"?><p><js version=\"101\" size=\"3\" "
                       "path=\"http://h/js/\"/><sites><domain name=\"h\"><f des=\"d\" "
                       "name=\"sub/h\"/><f des=\"t\" name=\"h_title\"/></domain></sites></p>"});
        const QString path = m_folder + "Profile.xml"_q;
        for (int i = 0; i < cases; ++i) {
            QVERIFY(writeFile(path, fuzzer.next()));
            SiteProfile profile;
            if (profile.load(path) < 0)
                continue;
            for (const SiteDomain &domain : profile.domains) {
                for (const ScriptFileEntry &entry : domain.files)
                    QVERIFY2(isInside(m_folder + entry.name), qPrintable(entry.name));
            }
        }
    }

    void outputProfiles()
    {
        QFile profiles(QStringLiteral(PROFILES));
        QVERIFY(profiles.open(QIODevice::ReadOnly));
        Fuzzer fuzzer({profiles.readAll()});
        const QString path = m_folder + "Profiles.xml"_q;
        int loaded = 0;
        for (int i = 0; i < cases; ++i) {
            QVERIFY(writeFile(path, fuzzer.next()));
            OutputProfileManager manager(*Options::instance());
            if (!manager.load(path))
                continue;
            ++loaded;
            JobData job;
            job.guid = "{G}"_q;
            job.video_dimension = "640x360"_q;
            for (const auto &group : manager.groups()) {
                if (group->items.empty())
                    continue;
                job.output_format = group->items.at(fuzzer.below(int(group->items.size())))->id;
                if (manager.createEncoder(job))
                    QVERIFY2(isInside(job.output_name), qPrintable(job.output_name));
            }
        }
        QVERIFY(loaded > 0);
    }

    void streamTexts()
    {
        Fuzzer fuzzer({"640x360$61$t$mp4|http://h/a?b=c%20d||320x240$61$$x-flv|h/e",
                       "$Error:1x1$1$$mp4|u", "||||"});
        OutputProfileManager manager(*Options::instance());
        QVERIFY(manager.load(QStringLiteral(PROFILES)));
        for (int i = 0; i < cases; ++i) {
            const QString text = QString::fromUtf8(fuzzer.next());
            VideoInfo info = m_site.info(text);
            info.streams = PageAnalysis::splitStreams(text);
            info.selectedStream = manager.matchQuality(info.streams, fuzzer.below(9) - 3);
            if (info.streams.isEmpty())
                continue;
            HttpJob job(EngineFixture::surroundings());
            job.init(info, 1);
            job.record.output_format = 100;
            QVERIFY(manager.createEncoder(job.record));
            QVERIFY(isInside(job.record.output_name));
        }
    }

    void contentTypes()
    {
        Fuzzer fuzzer(
            {"video/mp4", "video/x-flv", "application/octet-stream", "text/html; charset=utf-8"});
        for (int i = 0; i < cases; ++i) {
            JobRecord record;
            record.guid = "{G}"_q;
            HttpTask task(record, m_folder, 1000);
            if (task.createSource(QString::fromUtf8(fuzzer.next())) != 0)
                continue;
            QVERIFY2(isInside(record.video_mame), qPrintable(record.video_mame.text()));
            QVERIFY(QFile::remove(record.video_mame));
        }
    }

    void titles()
    {
        Fuzzer fuzzer({"A title", "..", "C:\\x/../y", "\xe6\x97\xa5\xe6\x9c\xac", "&lt;a&gt; 'b'"});
        for (int i = 0; i < cases; ++i) {
            JobRecord record;
            record.title = sanitizeFileName(QString::fromUtf8(fuzzer.next()));
            record.output_name = m_folder + "{G}.mp4"_q;
            QVERIFY(writeFile(record.output_name, "x"));
            QVERIFY2(record.finalizeOutput(), qPrintable(record.title));
            QVERIFY2(isInside(record.output_name), qPrintable(record.output_name));
            QVERIFY(QFile::remove(record.output_name));
        }
    }

    void contentRanges()
    {
        Fuzzer fuzzer({"bytes 10-19/200", "bytes */200", "bytes 0-0/*"});
        for (int i = 0; i < cases; ++i) {
            const ContentRange range = parseContentRange(fuzzer.next());
            QVERIFY(range.first >= -1 && range.total >= -1);
        }
    }

private:
    // As the system sees the path: it ends at a NUL.
    bool isInside(const QString &path) const
    {
        return QDir::cleanPath(path.section(QChar(0), 0, 0)).startsWith(m_folder);
    }

    const QString m_folder = m_sandbox.path("fuzz/"_q);
};

REELKEEPER_TEST_MAIN(FuzzTest)
#include "tst_fuzz.moc"
