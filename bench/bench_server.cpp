#include "httpserver.h"

#include <QCoreApplication>

#include <cstdio>

// bench_server [FILE CONTENT-TYPE [RATE]]: the site of the measurements in a process of its own, so
// that its costs are nobody else's. /stream/BYTES is a generated video of that length, /file the
// file, /slow the same at RATE bytes per second, /watch a page that sets a cookie. Prints its
// address and ends when its standard input does.
int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    HttpServer server;
    server.setHandler("/stream/*", [](const HttpRequest &request) {
        HttpResponse response;
        response.generatedBytes = request.path.mid(int(qstrlen("/stream/"))).toLongLong();
        response.contentType = "video/mp4";
        return response;
    });
    HttpResponse page = HttpResponse::text("<html></html>");
    page.headers = {{"Set-Cookie", "id=1; path=/"}};
    server.setResponse("/watch", page);
    const QStringList arguments = application.arguments();
    if (arguments.size() > 2) {
        HttpResponse file;
        file.file = arguments.at(1);
        file.contentType = arguments.at(2).toLatin1();
        server.setResponse("/file", file);
        file.bytesPerSecond = arguments.value(3).toLongLong();
        server.setResponse("/slow", file);
    }
    if (!server.listen()) {
        std::fputs("bench_server cannot listen\n", stderr);
        return 1;
    }
    std::printf("%s\n", qPrintable(server.url(QString())));
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
    return 0;
}
