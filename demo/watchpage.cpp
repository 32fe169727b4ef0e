#include "watchpage.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {
const char pageStart[] =
    "<!DOCTYPE html>\n"
    "<html lang=\"en\">\n"
    "<head>\n"
    "<meta http-equiv=\"Content-Type\" content=\"text/html; charset=utf-8\">\n"
    "<title>%1</title>\n"
    "<style>\n"
    "body { margin: 0; background: #f4f5f7; color: #22262b; font: 16px/1.5 sans-serif; }\n"
    "header { background: #2c3e50; color: #fff; padding: 18px 0; }\n"
    "header a { color: #fff; text-decoration: none; font-size: 22px; }\n"
    "header div, main { max-width: 760px; margin: 0 auto; padding: 0 20px; }\n"
    "section { background: #fff; border: 1px solid #dfe3e8; border-radius: 6px;\n"
    "          margin: 20px 0; padding: 6px 20px 14px; }\n"
    "h2 a { color: #1a5fb4; text-decoration: none; }\n"
    "code { background: #eef1f4; padding: 2px 6px; border-radius: 4px; }\n"
    "video { width: 100%; background: #000; margin-top: 14px; }\n"
    ".note { color: #6b7480; }\n"
    "</style>\n"
    "</head>\n"
    "<body>\n"
    "<header><div><a href=\"/\">Reelkeeper's bundled site</a></div></header>\n"
    "<main>\n";
const char pageEnd[] = "</main>\n</body>\n</html>\n";

QString pageWith(const QString &title, const QString &content)
{
    return QString::fromUtf8(pageStart).replace(QLatin1String("%1"), title.toHtmlEscaped()) +
           content + QLatin1String(pageEnd);
}

QString streamAddress(const QString &base, const DemoStream &stream)
{
    return base + QStringLiteral("/stream/") + stream.file;
}

QJsonObject playerObject(const DemoVideo *video, const QString &base, const QString &mediaFolder)
{
    QJsonObject player;
    if (!video) {
        player[QStringLiteral("playabilityStatus")] =
            QJsonObject{{QStringLiteral("status"), QStringLiteral("ERROR")},
                        {QStringLiteral("reason"), QStringLiteral("Video unavailable")}};
        return player;
    }
    QJsonArray formats;
    for (const DemoStream &stream : video->streams) {
        const qint64 size = QFileInfo(QDir(mediaFolder).filePath(stream.file)).size();
        formats.append(QJsonObject{
            {QStringLiteral("itag"), stream.itag},
            {QStringLiteral("url"), streamAddress(base, stream)},
            {QStringLiteral("mimeType"),
             QStringLiteral("%1; codecs=\"%2\"")
                 .arg(QString::fromLatin1(stream.contentType), stream.codecs)},
            {QStringLiteral("width"), stream.width},
            {QStringLiteral("height"), stream.height},
            {QStringLiteral("qualityLabel"), QStringLiteral("%1p").arg(stream.height)},
            {QStringLiteral("contentLength"), QString::number(size)},
        });
    }
    player[QStringLiteral("playabilityStatus")] =
        QJsonObject{{QStringLiteral("status"), QStringLiteral("OK")}};
    player[QStringLiteral("streamingData")] = QJsonObject{{QStringLiteral("formats"), formats}};
    player[QStringLiteral("videoDetails")] = QJsonObject{
        {QStringLiteral("videoId"), video->id},
        {QStringLiteral("title"), video->title},
        {QStringLiteral("lengthSeconds"), QString::number(video->seconds)},
        {QStringLiteral("keywords"), QJsonArray::fromStringList(video->keywords)},
        {QStringLiteral("shortDescription"), video->description},
    };
    return player;
}
} // namespace

QByteArray indexPage(const QString &base, const QStringList &pages)
{
    QString content = QStringLiteral("<p>Copy the address of a video while Reelkeeper runs, or "
                                     "enter it in its new-download window.</p>\n");
    for (const DemoVideo &video : demoVideos()) {
        QStringList sizes;
        for (const DemoStream &stream : video.streams) {
            sizes << QStringLiteral("%1×%2 %3")
                         .arg(stream.width)
                         .arg(stream.height)
                         .arg(QFileInfo(stream.file).suffix().toUpper());
        }
        const QString address = base + QStringLiteral("/watch?v=") + video.id;
        content += QStringLiteral("<section>\n<h2><a href=\"%1\">%2</a></h2>\n<p>%3</p>\n"
                                  "<p class=\"note\">%4 s &middot; %5</p>\n<p><code>%1</code></p>\n"
                                  "</section>\n")
                       .arg(address.toHtmlEscaped(), video.title.toHtmlEscaped(),
                            video.description.toHtmlEscaped(), QString::number(video.seconds),
                            sizes.join(QStringLiteral(", ")));
    }
    content += QStringLiteral("<section>\n<h2>Pages of other forms</h2>\n");
    for (const QString &address : pages)
        content += QStringLiteral("<p><a href=\"%1\"><code>%1</code></a></p>\n")
                       .arg(address.toHtmlEscaped());
    content += QStringLiteral("</section>\n");
    return pageWith(QStringLiteral("Bundled site"), content).toUtf8();
}

QByteArray watchPage(const DemoVideo *video, const QString &base, const QString &mediaFolder)
{
    QByteArray player =
        QJsonDocument(playerObject(video, base, mediaFolder)).toJson(QJsonDocument::Compact);
    // A text in it must not end the script element.
    player.replace("</", "<\\/");
    QString content = QStringLiteral("<script>var ytInitialPlayerResponse = ") +
                      QString::fromUtf8(player) + QStringLiteral(";</script>\n<section>\n");
    if (video) {
        content += QStringLiteral("<video controls preload=\"metadata\" src=\"%1\"></video>\n"
                                  "<h1>%2</h1>\n<p>%3</p>\n")
                       .arg(streamAddress(base, video->streams.first()).toHtmlEscaped(),
                            video->title.toHtmlEscaped(), video->description.toHtmlEscaped());
    } else {
        content += QStringLiteral("<h1>Video unavailable</h1>\n");
    }
    content += QStringLiteral("</section>\n");
    return pageWith(video ? video->title : QStringLiteral("Video unavailable"), content).toUtf8();
}
