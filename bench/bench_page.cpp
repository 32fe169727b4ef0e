#include "cjslib.h"
#include "httpget.h"
#include "pageanalysis.h"
#include "support.h"

#include <QCoreApplication>
#include <QUrl>

namespace {

constexpr int PageSize = 1000 * 1000;
constexpr int Formats = 20;

// A watch page as sites send them: the player's object between long scripts and lists of texts.
QByteArray watchPage()
{
    QByteArray formats;
    for (int i = 1; i <= Formats; ++i) {
        formats +=
            QByteArray(i > 1 ? "," : "") + R"({"url":"http://media.example.org/playback?id=)" +
            QByteArray::number(i) + "&sig=" + QByteArray(600, 's') +
            R"(","mimeType":"video/mp4; codecs=\"avc1\"","width":)" + QByteArray::number(64 * i) +
            R"(,"height":)" + QByteArray::number(36 * i) + R"(,"qualityLabel":"label"})";
    }
    const QByteArray player =
        R"(<script>var ytInitialPlayerResponse = {"playabilityStatus":{"status":"OK"},)"
        R"("videoDetails":{"title":"A video","lengthSeconds":"61"},)"
        R"("streamingData":{"formats":[)" +
        formats + "]}};</script>\n";
    const auto filler = [](int size) {
        QByteArray text;
        for (int i = 0; text.size() < size; ++i)
            text += i % 40 == 0
                        ? "<script>var data = {\"list\":[1,2,3],\"text\":\"a {brace}\"};</script>\n"
                        : "<div class=\"item\"><a href=\"/watch?v=abcdefghijk\">Next</a></div>\n";
        return text;
    };
    const int rest = (PageSize - player.size()) / 2;
    return "<html><head><meta charset=\"utf-8\"><title>A video</title></head><body>\n" +
           filler(rest) + player + filler(rest) + "</body></html>\n";
}

} // namespace

// The three steps of the analysis of a long watch page, each on its own.
int main(int argc, char **argv)
{
    Sandbox sandbox;
    QCoreApplication application(argc, argv);
    sandbox.loadOptions();
    const QString file = sandbox.path(QStringLiteral("page"));
    writeFile(file, watchPage());
    const BenchServer server({file, QStringLiteral("text/html; charset=utf-8")});

    QString text;
    const double fetch = medianMilliseconds([&] {
        HttpGet fetcher;
        text = fetcher.get(QUrl(server.url(QStringLiteral("/file"))));
    });
    VideoInfo info;
    const double script = medianMilliseconds([&] {
        CJSLib scripts;
        info = scripts.parsePage(server.url(QStringLiteral("/file")), text,
                                 QStringLiteral(REELKEEPER_SITE_SCRIPTS "/127.0.0.1"));
    });
    QVector<VideoStream> streams;
    const double split =
        medianMilliseconds([&] { streams = PageAnalysis::splitStreams(info.streamText); });
    if (streams.size() != Formats)
        giveUp(QStringLiteral("the page was not understood: ") + info.streamText);

    const QString what = QStringLiteral("Page of 1 MB: ");
    const QString millisecond = QStringLiteral("ms");
    printRow(what + QStringLiteral("fetch"), fetch, millisecond);
    printRow(what + QStringLiteral("scripts"), script, millisecond);
    printRow(what + QStringLiteral("split"), split, millisecond);
    return 0;
}
