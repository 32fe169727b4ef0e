// soak_load [SECONDS [SEED]]: a hundred jobs at once, started, paused, removed and replaced at
// random. Prints what it did; ends with 1 when a job does not end or a file is not its stream.
#include "downloadermanager.h"
#include "enginefixture.h"
#include "literals.h"
#include "webdatabase.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QtTest>

#include <random>

namespace {
constexpr int liveJobs = 100;
constexpr int step = 5; // milliseconds between two actions

bool soakLoad(Sandbox &sandbox, int seconds, unsigned seed)
{
    sandbox.loadOptions();
    EngineFixture site(sandbox);
    site.server.setHandler("/stream", [](const HttpRequest &request) {
        return EngineFixture::stream(request.target.split('=').last().toLongLong(), 100000);
    });
    WebDatabase database(sandbox.path("list/"_q));
    if (!database.Init())
        return false;
    DownloaderManager manager(EngineFixture::surroundings());
    QObject::connect(&manager, &DownloaderManager::sigJobsChanged, &manager,
                     [&] { database.Save(manager.records()); });
    std::mt19937 random(seed);
    QHash<int, qint64> sizes;
    const auto add = [&] {
        VideoInfo info = site.info();
        const qint64 size = 1 + random() % 400000;
        info.streams[0].videoAddress += "?size=%1"_q.arg(size);
        sizes.insert(manager.addJob(info)->record.id, size);
    };
    for (int i = 0; i < liveJobs; ++i)
        add();
    int actions = 0;
    QElapsedTimer clock;
    qint64 longest = 0;
    for (const QDeadlineTimer end(seconds * 1000LL); !end.hasExpired(); ++actions) {
        const QList<int> ids = sizes.keys();
        const int id = ids.at(int(random() % unsigned(ids.size())));
        clock.start();
        switch (random() % 8) {
        case 0: // its files with it, so that every file that stays belongs to a job
            manager.removeJob(id, true);
            sizes.remove(id);
            add();
            break;
        case 1:
        case 2:
        case 3:
            manager.pauseJob(id);
            break;
        default:
            manager.startJob(id);
        }
        longest = qMax(longest, clock.elapsed());
        if (actions % 500 == 0)
            manager.pauseAll();
        QTest::qWait(step);
    }
    manager.startAll();
    if (!QTest::qWaitFor([&] { return manager.allFinished(); }, 120000)) {
        qCritical("jobs do not end");
        return false;
    }
    for (auto it = sizes.cbegin(); it != sizes.cend(); ++it) {
        const JobRecord &record = manager.findJob(it.key())->record;
        if (record.video_state != JobState::Finished ||
            !isPattern(record.output_name, it.value())) {
            qCritical("job %d: state %s, file %s", record.id, qPrintable(record.stateText()),
                      qPrintable(record.output_name));
            return false;
        }
    }
    const int files = site.outputFiles().size();
    printf("%d s, %d actions on %d jobs at once, %d jobs in all, %d files as their streams, "
           "longest action %lld ms\n",
           seconds, actions, liveJobs, int(manager.jobs().size()), files, longest);
    return files == sizes.size();
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    Sandbox sandbox;
    const QApplication application(argc, argv);
    return soakLoad(sandbox, argc > 1 ? atoi(argv[1]) : 60, argc > 2 ? unsigned(atoi(argv[2])) : 1)
               ? 0
               : 1;
}
