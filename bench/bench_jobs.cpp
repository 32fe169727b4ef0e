#include "downloadermanager.h"
#include "downloadtablewidget.h"
#include "finishedtablewidget.h"
#include "joblists.h"
#include "jobsaver.h"
#include "resources.h"
#include "support.h"
#include "surroundings.h"
#include "webdatabase.h"

#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QScrollBar>
#include <QTabWidget>
#include <QWindow>

namespace {

constexpr int Running = 50;
constexpr int Finished = 10000;

const QString Millisecond = QStringLiteral("ms");

void measureStore(const Sandbox &sandbox, const QString &video, int count)
{
    WebDatabase database(sandbox.path(QString::number(count)) + QLatin1Char('/'));
    DownloaderManager filled(testSurroundings());
    addFinishedJobs(&filled, count, video);
    if (!database.Init())
        giveUp(QStringLiteral("no job database"));
    const double save = medianMilliseconds([&] {
        QFile::remove(database.path()); // the next one writes all of it
        database.Save(filled.records());
    });
    JobRecord &ended = filled.findJob(count / 2)->record;
    const double change = medianMilliseconds([&] {
        ended.download_bytes += MiB;
        database.Save(filled.records());
    });
    const qint64 written = bytesWritten();
    const double idle = medianMilliseconds([&] { database.Save(filled.records()); });
    const qint64 idleBytes = bytesWritten() - written;
    QVector<double> loads;
    for (int run = 0; run < Runs; ++run) {
        DownloaderManager loaded(testSurroundings());
        loads += milliseconds([&] { readJobs(database, loaded); });
        if (int(loaded.jobs().size()) != count)
            giveUp(QStringLiteral("jobs are missing"));
    }
    const qint64 size = QFileInfo(database.path()).size();
    const QString what = QStringLiteral("Job store, %1 jobs: ").arg(count);
    printRow(what + QStringLiteral("save of all"), save, Millisecond, count == 10000 ? 150 : -1);
    printRow(what + QStringLiteral("save of one that changed"), change, Millisecond);
    printRow(what + QStringLiteral("save of nothing"), idle, Millisecond);
    printRow(what + QStringLiteral("written by the saves of nothing"), double(idleBytes),
             QStringLiteral("B"), 0);
    printRow(what + QStringLiteral("load"), median(loads), Millisecond);
    printRow(what + QStringLiteral("file"), double(size) / MiB, QStringLiteral("MiB"));
}

void paint()
{
    QApplication::sendPostedEvents();
    QApplication::processEvents();
}

// A repaint that does not happen must not count as a quick one.
class PaintCounter final : public QObject
{
public:
    int count = 0;
    bool eventFilter(QObject *, QEvent *event) override
    {
        count += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }
};

void measureLists(const Sandbox &sandbox, const QString &video)
{
    DownloaderManager *manager = DownloaderManager::instance();
    addFinishedJobs(manager, Finished, video);
    std::vector<HttpJob *> running;
    for (int i = 0; i < Running; ++i) {
        auto job = manager->newJob();
        VideoInfo info;
        info.title = QStringLiteral("A video that is on its way");
        info.streams = {{QStringLiteral("640x360"), QStringLiteral("61"), QString(),
                         QStringLiteral("mp4"), QStringLiteral("http://media.example.org/v")}};
        job->init(info, Finished + 1 + i);
        job->record.total_bytes = 100 * MiB;
        running.push_back(job.get());
        manager->addLoadedJob(std::move(job));
    }

    QTabWidget window;
    auto *downloads = new DownloadTableWidget;
    auto *finished = new FinishedTableWidget;
    window.addTab(downloads, QStringLiteral("Downloading"));
    window.addTab(finished, QStringLiteral("Finished"));
    window.resize(800, 600);
    downloads->init(*manager, *Options::instance(), Qt::darkBlue);
    finished->init(*manager, *Options::instance(), Qt::darkBlue);
    downloads->loadColumns();
    finished->loadColumns();

    JobLists lists(*manager, *downloads, *finished);
    const QString what =
        QStringLiteral("Lists, %1 running, %2 finished: ").arg(Running).arg(Finished);
    printRow(what + QStringLiteral("fill"), milliseconds([&] { lists.fillViews(); }), Millisecond);
    window.show();
    while (!window.windowHandle()->isExposed())
        paint();
    paint();
    PaintCounter paints;
    downloads->viewport()->installEventFilter(&paints);

    QVector<double> refresh;
    QVector<double> painted;
    for (int run = 0; run < 10 * Runs; ++run) {
        for (HttpJob *job : running) {
            job->record.download_bytes += MiB;
            job->record.changeFlags.set(ProgressChanged);
        }
        refresh += milliseconds([&] { lists.updateViews(); });
        painted += refresh.last() + milliseconds([&] { downloads->viewport()->repaint(); });
    }
    if (paints.count < refresh.size())
        giveUp(QStringLiteral("the refreshed rows were not painted"));
    printRow(what + QStringLiteral("refresh"), median(refresh), Millisecond, 2);
    printRow(what + QStringLiteral("refresh and repaint"), median(painted), Millisecond);

    // What the window does about an end: it is stored at once, and its row moves.
    ListOnThread list(sandbox.path(QStringLiteral("ends/")));
    JobSaver saver(*manager, *list.database, list.storage);
    saver.save();
    QVector<double> ends;
    QVector<double> stored;
    for (HttpJob *job : running) {
        job->record.video_state = JobState::Finished;
        job->record.changeFlags.set(StateChanged);
        QElapsedTimer clock;
        clock.start();
        ends += milliseconds([&] {
            saver.saveSoon();
            lists.updateViews();
        });
        list.storage.finish();
        stored += double(clock.nsecsElapsed()) / 1e6;
        saver.save(); // so that the next one need not wait for its moment
    }
    printRow(what + QStringLiteral("one that ends, handed over and moved"), median(ends),
             Millisecond, 5);
    printRow(what + QStringLiteral("one that ends, until it is stored"), median(stored),
             Millisecond);

    printRow(what + QStringLiteral("opening the finished list"), milliseconds([&] {
                 window.setCurrentIndex(1);
                 paint();
             }),
             Millisecond, 100);
    double slowest = 0;
    QScrollBar *bar = finished->verticalScrollBar();
    for (int step = 0; step <= 200; ++step) {
        slowest = std::max(slowest, milliseconds([&] {
                               bar->setValue(bar->maximum() * step / 200);
                               paint();
                           }));
    }
    printRow(what + QStringLiteral("slowest step of scrolling"), slowest, Millisecond, 100);
}

} // namespace

// The job store as it grows, and the lists over many jobs.
int main(int argc, char **argv)
{
    Sandbox sandbox;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    initResources();
    application.setStyleSheet(
        QString::fromUtf8(readFile(QStringLiteral(":/style/Shared/style/layout.qss"))));
    sandbox.loadOptions();
    // The finished file that all of them have: without one a job leaves the list.
    const QString video = sandbox.outputFolder() + QStringLiteral("video.mp4");
    writeFile(video, QByteArray(1000, 'v'));

    for (int count : {100, 1000, 10000})
        measureStore(sandbox, video, count);
    measureLists(sandbox, video);
    DownloaderManager::destroyInstance();
    return 0;
}
