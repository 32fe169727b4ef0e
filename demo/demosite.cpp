#include "demosite.h"

#include "watchpage.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QUrlQuery>

namespace {
const char scriptPath[] = "/reelkeeper/scripts/";
// The video that the program's dialog has in its example; it is the first one of the list here.
const char exampleId[] = "8rWkWx2yVhE";

QByteArray lastPart(const QByteArray &path)
{
    return path.mid(path.lastIndexOf('/') + 1);
}
} // namespace

DemoSite::DemoSite(const QString &mediaFolder, const QString &scriptFolder, qint64 bytesPerSecond)
    : m_mediaFolder(mediaFolder)
    , m_scriptFolder(scriptFolder)
    , m_bytesPerSecond(bytesPerSecond)
{
    m_server.setHandler("/", [this](const HttpRequest &request) {
        return HttpResponse::text(indexPage(base(request)), "text/html; charset=utf-8");
    });
    m_server.setHandler("/watch", [this](const HttpRequest &request) { return watch(request); });
    m_server.setHandler("/stream/*",
                        [this](const HttpRequest &request) { return stream(request); });
    m_server.setHandler("/reelkeeper/Profile.xml",
                        [this](const HttpRequest &request) { return profile(request); });
    m_server.setHandler(QByteArray(scriptPath) + '*',
                        [this](const HttpRequest &request) { return script(request); });
}

bool DemoSite::listen(quint16 port)
{
    return m_server.listen(port);
}

// The address that the client used, so that a forwarded port or another name of this machine works.
QString DemoSite::base(const HttpRequest &request) const
{
    static const QRegularExpression plainHost(QStringLiteral("\\A[A-Za-z0-9.\\-]+(:[0-9]+)?\\z"));
    const QString host = QString::fromLatin1(request.header("Host"));
    if (plainHost.match(host).hasMatch())
        return QStringLiteral("http://") + host;
    return m_server.url(QString());
}

HttpResponse DemoSite::watch(const HttpRequest &request) const
{
    const int query = request.target.indexOf('?');
    const QString id = QUrlQuery(QString::fromUtf8(query < 0 ? "" : request.target.mid(query + 1)))
                           .queryItemValue(QStringLiteral("v"), QUrl::FullyDecoded);
    const DemoVideo *found = id == QLatin1String(exampleId) ? &demoVideos().first() : nullptr;
    for (const DemoVideo &video : demoVideos()) {
        if (video.id == id)
            found = &video;
    }
    HttpResponse response = HttpResponse::text(watchPage(found, base(request), m_mediaFolder),
                                               "text/html; charset=utf-8");
    // More than one, as the sites have it that this one stands for.
    response.headers = {{"Set-Cookie", "VISITOR=bundled-site; Path=/"},
                        {"Set-Cookie", "PREF=hl=en_US; Path=/; HttpOnly"},
                        {"Cache-Control", "no-cache"}};
    return response;
}

HttpResponse DemoSite::stream(const HttpRequest &request) const
{
    const QString name = QString::fromUtf8(lastPart(request.path));
    for (const DemoVideo &video : demoVideos()) {
        for (const DemoStream &stream : video.streams) {
            if (stream.file != name)
                continue;
            HttpResponse response;
            response.contentType = stream.contentType;
            response.file = QDir(m_mediaFolder).filePath(name);
            response.bytesPerSecond = m_bytesPerSecond;
            return response;
        }
    }
    return HttpResponse::error(404);
}

HttpResponse DemoSite::profile(const HttpRequest &request) const
{
    QFile file(QDir(m_scriptFolder).filePath(QStringLiteral("Profile.xml")));
    if (!file.open(QIODevice::ReadOnly))
        return HttpResponse::error(404);
    QString manifest = QString::fromUtf8(file.readAll());
    manifest.replace(QRegularExpression(QStringLiteral("path=\"[^\"]*\"")),
                     QStringLiteral("path=\"%1%2\"").arg(base(request), QLatin1String(scriptPath)));
    return HttpResponse::text(manifest.toUtf8(), "text/xml");
}

HttpResponse DemoSite::script(const HttpRequest &request) const
{
    const QString name = QString::fromUtf8(request.path.mid(int(qstrlen(scriptPath))));
    if (!QDir(m_scriptFolder).entryList(QDir::Files).contains(name))
        return HttpResponse::error(404);
    HttpResponse response;
    response.contentType = "text/plain";
    response.file = QDir(m_scriptFolder).filePath(name);
    return response;
}
