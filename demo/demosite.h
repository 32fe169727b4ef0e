#pragma once

#include "httpserver.h"
#include "pagefolder.h"

#include <QString>

struct DemoStream;

// The site on this machine: watch pages, pages in the form of other sites, their streams and the
// update server, on 127.0.0.1 only. Plain, or over TLS once its server has a certificate.
class DemoSite final
{
public:
    // The folders are read while serving; the media folder holds what makeDemoVideos() made.
    // bytesPerSecond slows each stream down, 0 does not.
    DemoSite(const QString &mediaFolder, const QString &scriptFolder, qint64 bytesPerSecond);

    // Both before listen(). Pages of a person's own, beside the bundled ones; they may name any
    // stream, and get one of the same type.
    void setSavedPages(const QString &folder) { m_savedPages = PageFolder(folder); }
    // Where /download/ sends its clients, "https://HOST:PORT", instead of serving them itself.
    void setStreamSite(const QString &site) { m_streamSite = site; }

    bool listen(quint16 port); // 0: any free port
    QString url(const QString &path = QStringLiteral("/")) const { return m_server.url(path); }
    HttpServer &server() { return m_server; }

private:
    HttpResponse index(const HttpRequest &request) const;
    HttpResponse watch(const HttpRequest &request) const;
    HttpResponse page(const HttpRequest &request) const;
    HttpResponse stream(const HttpRequest &request) const;
    HttpResponse download(const HttpRequest &request) const;
    const DemoStream *streamAt(const QByteArray &path) const;
    HttpResponse profile(const HttpRequest &request) const;
    HttpResponse script(const HttpRequest &request) const;
    QString base(const HttpRequest &request) const;

    const QString m_mediaFolder;
    const QString m_scriptFolder;
    const qint64 m_bytesPerSecond;
    const PageFolder m_pages;
    PageFolder m_savedPages;
    QString m_streamSite;
    HttpServer m_server; // last: its thread uses the others
};
