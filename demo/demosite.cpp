#include "demosite.h"

#include "watchpage.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QUrlQuery>

namespace {
const char scriptPath[] = "/reelkeeper/scripts/";
const char pagePath[] = "/pages/";
const char savedPath[] = "/saved/";
const char downloadPath[] = "/download/";
// The video that the program's dialog has in its example; it is the first one of the list here.
const char exampleId[] = "8rWkWx2yVhE";

void appendAddresses(QStringList *to, const QString &start, const PageFolder &folder)
{
    for (const QString &name : folder.names())
        to->append(start + QString::fromLatin1(QUrl::toPercentEncoding(name)));
}

// What a file's name tells of its type, by one of its names.
QString typeOf(const QString &name)
{
    const QString suffix = QFileInfo(name).suffix().toLower();
    return suffix == QLatin1String("ogv")   ? QStringLiteral("ogg")
           : suffix == QLatin1String("m4v") ? QStringLiteral("mp4")
                                            : suffix;
}
} // namespace

// Outside of any namespace, as the macro wants it: a library's resources are not there by
// themselves.
static void initPages()
{
    Q_INIT_RESOURCE(pages);
}

DemoSite::DemoSite(const QString &mediaFolder, const QString &scriptFolder, qint64 bytesPerSecond)
    : m_mediaFolder(mediaFolder)
    , m_scriptFolder(scriptFolder)
    , m_bytesPerSecond(bytesPerSecond)
    , m_pages(QStringLiteral(":/pages"))
{
    initPages();
    const auto serve = [this](const QByteArray &path,
                              HttpResponse (DemoSite::*answer)(const HttpRequest &) const) {
        m_server.setHandler(path,
                            [this, answer](const HttpRequest &r) { return (this->*answer)(r); });
    };
    serve("/", &DemoSite::index);
    serve("/watch", &DemoSite::watch);
    serve(QByteArray(pagePath) + '*', &DemoSite::page);
    serve(QByteArray(savedPath) + '*', &DemoSite::page);
    serve("/stream/*", &DemoSite::stream);
    serve(QByteArray(downloadPath) + '*', &DemoSite::download);
    serve("/reelkeeper/Profile.xml", &DemoSite::profile);
    serve(QByteArray(scriptPath) + '*', &DemoSite::script);
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
    const QString own = m_server.url(QString());
    if (plainHost.match(host).hasMatch())
        return own.left(own.indexOf(QStringLiteral("//")) + 2) + host;
    return own;
}

HttpResponse DemoSite::index(const HttpRequest &request) const
{
    QStringList pages;
    appendAddresses(&pages, base(request) + QLatin1String(savedPath), m_savedPages);
    appendAddresses(&pages, base(request) + QLatin1String(pagePath), m_pages);
    return HttpResponse::text(indexPage(base(request), pages), "text/html; charset=utf-8");
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

HttpResponse DemoSite::page(const HttpRequest &request) const
{
    const PageFolder &folder = request.path.startsWith(savedPath) ? m_savedPages : m_pages;
    const QString site = base(request);
    const QByteArray text = folder.page(request.path.mid(request.path.indexOf('/', 1) + 1), site,
                                        m_streamSite.isEmpty() ? site : m_streamSite);
    if (text.isNull())
        return HttpResponse::error(404);
    HttpResponse response = HttpResponse::text(text);
    // Plain pages are refused without. The sites whose forms these have set none.
    if (site.startsWith(QStringLiteral("http:")))
        response.headers = {{"Set-Cookie", "VISITOR=bundled-site; Path=/"}};
    return response;
}

// The stream whose name is a part of the path, so that an address can end as a site's does.
const DemoStream *DemoSite::streamAt(const QByteArray &path) const
{
    const QStringList parts = QString::fromUtf8(path).split(QLatin1Char('/'));
    const DemoStream *sameType = nullptr;
    for (const DemoVideo &video : demoVideos()) {
        for (const DemoStream &stream : video.streams) {
            if (parts.contains(stream.file))
                return &stream;
            if (!sameType && typeOf(stream.file) == typeOf(parts.last()))
                sameType = &stream;
        }
    }
    return m_savedPages.isSet() ? sameType : nullptr;
}

HttpResponse DemoSite::stream(const HttpRequest &request) const
{
    const DemoStream *stream = streamAt(request.path);
    if (!stream)
        return HttpResponse::error(404);
    HttpResponse response;
    response.contentType = stream->contentType;
    response.file = QDir(m_mediaFolder).filePath(stream->file);
    response.bytesPerSecond = m_bytesPerSecond;
    return response;
}

HttpResponse DemoSite::download(const HttpRequest &request) const
{
    if (m_streamSite.isEmpty())
        return stream(request);
    return HttpResponse::redirect(m_streamSite.toLatin1() + "/stream/" +
                                  request.path.mid(int(qstrlen(downloadPath))));
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
