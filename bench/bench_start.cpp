#include "downloadermanager.h"
#include "httpserver.h"
#include "options.h"
#include "support.h"
#include "surroundings.h"
#include "webdatabase.h"

#include <QCoreApplication>
#include <QProcess>

#include <csignal>

namespace {

// What the update dialog waits before it asks the server, in milliseconds.
constexpr int UpdateDelay = 200;
constexpr int Version = 1; // of the site scripts, installed and published

bool windowIsThere()
{
    return QProcess::execute(QStringLiteral("sh"),
                             {QStringLiteral("-c"),
                              QStringLiteral("xdotool search --onlyvisible --name "
                                             "'^Corvane Reelkeeper$' >/dev/null 2>&1")}) == 0;
}

double startUp(double *resolution)
{
    QProcess program;
    program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    double looks = 0;
    const double time = milliseconds([&] {
        program.start(QStringLiteral(REELKEEPER_BIN "/reelkeeper"), QStringList());
        for (;;) {
            double look = 0;
            bool there = false;
            look = milliseconds([&] { there = windowIsThere(); });
            looks = std::max(looks, look);
            if (there)
                break;
            if (program.waitForFinished(0))
                giveUp(QStringLiteral("the program has ended"));
        }
    });
    *resolution = std::max(*resolution, looks);
    program.terminate();
    if (!program.waitForFinished())
        giveUp(QStringLiteral("the program does not end"));
    return time - UpdateDelay;
}

} // namespace

// From the start of the process to its window on the display. The update check finds nothing new;
// the wait in front of it is taken off.
int main(int argc, char **argv)
{
    Sandbox sandbox;
    QCoreApplication application(argc, argv);
    if (!haveTool(QStringLiteral("xdotool")) || qEnvironmentVariableIsEmpty("DISPLAY"))
        giveUp(QStringLiteral("a display and xdotool are needed"));
    sandbox.loadOptions();
    Options::instance()->jsVersion = Version;
    Options::instance()->save();
    HttpServer server;
    server.listen();
    server.setResponse(
        "/reelkeeper/Profile.xml",
        HttpResponse::text("<profile><js version=\"1\" size=\"0\" path=\"x\"/></profile>"));
    qputenv("REELKEEPER_UPDATE_HOST", "127.0.0.1:" + QByteArray::number(server.port()));
    const QString video = sandbox.outputFolder() + QStringLiteral("video.mp4");
    writeFile(video, QByteArray(1000, 'v'));

    double resolution = 0;
    for (int count : {10, 10000}) {
        {
            WebDatabase database(Options::instance()->appDataPath());
            DownloaderManager manager(testSurroundings());
            QFile::remove(database.path());
            addFinishedJobs(&manager, count, video);
            if (!database.Init() || !database.Save(manager.records()))
                giveUp(QStringLiteral("no job database"));
        }
        QVector<double> times;
        for (int run = 0; run < Runs; ++run)
            times += startUp(&resolution);
        printRow(QStringLiteral("Start to a window, %1 jobs").arg(count), median(times),
                 QStringLiteral("ms"), 120);
    }
    printRow(QStringLiteral("Start to a window, longest look for it"), resolution,
             QStringLiteral("ms"));
    return 0;
}
