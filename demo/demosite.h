#pragma once

#include "httpserver.h"

#include <QString>

// The site on this machine: watch pages, their streams and the update server, on 127.0.0.1 only.
class DemoSite final
{
public:
    // The folders are read while serving; the media folder holds what makeDemoVideos() made.
    // bytesPerSecond slows each stream down, 0 does not.
    DemoSite(const QString &mediaFolder, const QString &scriptFolder, qint64 bytesPerSecond);

    bool listen(quint16 port); // 0: any free port
    QString url(const QString &path = QStringLiteral("/")) const { return m_server.url(path); }
    HttpServer &server() { return m_server; }

private:
    HttpResponse watch(const HttpRequest &request) const;
    HttpResponse stream(const HttpRequest &request) const;
    HttpResponse profile(const HttpRequest &request) const;
    HttpResponse script(const HttpRequest &request) const;
    QString base(const HttpRequest &request) const;

    const QString m_mediaFolder;
    const QString m_scriptFolder;
    const qint64 m_bytesPerSecond;
    HttpServer m_server; // last: its thread uses the others
};
