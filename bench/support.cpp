#include "support.h"

#include "downloadermanager.h"
#include "httpserver.h"
#include "outputprofilemanager.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QStandardPaths>
#include <QTimerEvent>

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <vector>

static double seconds(const rusage &usage)
{
    const auto sum = [](const timeval &a, const timeval &b) {
        return double(a.tv_sec + b.tv_sec) + double(a.tv_usec + b.tv_usec) / 1e6;
    };
    return sum(usage.ru_utime, usage.ru_stime);
}

void printNote(const QString &name, const QString &text)
{
    std::printf("%s | %s | \n", qPrintable(name), qPrintable(text));
    std::fflush(stdout);
}

void printRow(const QString &name, double value, const QString &unit, double limit)
{
    const auto written = [&unit](double number) {
        const int digits = number >= 100 ? 0 : number >= 10 ? 1 : 2;
        return QString::number(number, 'f', digits) +
               (unit.isEmpty() ? QString() : QLatin1Char(' ') + unit);
    };
    QString target;
    if (limit >= 0)
        target = QStringLiteral("at most ") + QString::number(limit) +
                 (unit.isEmpty() ? QString() : QLatin1Char(' ') + unit) +
                 (value > limit ? QStringLiteral(", missed") : QString());
    std::printf("%s | %s | %s\n", qPrintable(name), qPrintable(written(value)), qPrintable(target));
    std::fflush(stdout);
}

double median(QVector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.isEmpty() ? 0 : values.at(values.size() / 2);
}

double milliseconds(const std::function<void()> &work)
{
    QElapsedTimer clock;
    clock.start();
    work();
    return double(clock.nsecsElapsed()) / 1e6;
}

double medianMilliseconds(const std::function<void()> &work)
{
    QVector<double> times;
    for (int i = 0; i < Runs; ++i)
        times += milliseconds(work);
    return median(times);
}

double processorSeconds()
{
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return seconds(usage);
}

qint64 statusValue(const char *field)
{
    const QByteArray start = QByteArray(field) + ':';
    for (const QByteArray &line : readFile(QStringLiteral("/proc/self/status")).split('\n')) {
        if (line.startsWith(start))
            return line.mid(start.size()).simplified().split(' ').first().toLongLong();
    }
    return 0;
}

qint64 bytesWritten()
{
    QFile file(QStringLiteral("/proc/self/io"));
    if (!file.open(QIODevice::ReadOnly))
        giveUp(QStringLiteral("no account of what is written"));
    const QByteArray text = file.readAll();
    const QByteArray field = "wchar: ";
    const int at = text.indexOf(field) + field.size();
    return text.mid(at, text.indexOf('\n', at) - at).toLongLong();
}

void forgetMemoryPeak()
{
    QFile file(QStringLiteral("/proc/self/clear_refs"));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) || file.write("5") != 1)
        giveUp(QStringLiteral("the peak of the memory cannot be reset"));
}

qint64 memoryPeak()
{
    return statusValue("VmHWM") * 1024;
}

qint64 memoryNow()
{
    return statusValue("VmRSS") * 1024;
}

qint64 askedSize(const QCoreApplication &application, int usualMiB)
{
    QCommandLineParser parser;
    const QCommandLineOption size(QStringLiteral("size"), QStringLiteral("Length in MiB."),
                                  QStringLiteral("MiB"), QString::number(usualMiB));
    parser.addOption(size);
    parser.addHelpOption();
    parser.process(application);
    return parser.value(size).toLongLong() * MiB;
}

void giveUp(const QString &why)
{
    std::fprintf(stderr, "%s\n", qPrintable(why));
    std::exit(1);
}

bool haveTool(const QString &name)
{
    return !QStandardPaths::findExecutable(name).isEmpty();
}

Cost runTool(const QStringList &command)
{
    QVector<QByteArray> texts;
    for (const QString &word : command)
        texts += QFile::encodeName(word);
    std::vector<char *> words;
    for (QByteArray &text : texts)
        words.push_back(text.data());
    words.push_back(nullptr);

    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&files, 1, 2);
    QElapsedTimer clock;
    clock.start();
    pid_t child = -1;
    int status = -1;
    rusage usage{};
    if (posix_spawnp(&child, words.front(), &files, nullptr, words.data(), environ) == 0)
        wait4(child, &status, 0, &usage);
    const double wall = double(clock.nsecsElapsed()) / 1e9;
    posix_spawn_file_actions_destroy(&files);
    if (status != 0)
        giveUp(QStringLiteral("failed: ") + command.join(QLatin1Char(' ')));
    return {wall, seconds(usage)};
}

GapMeter::GapMeter(QObject *parent)
    : QObject(parent)
{
}

GapMeter::~GapMeter() = default;

void GapMeter::begin()
{
    m_longest = 0;
    m_clock.start();
    m_timer = startTimer(Interval, Qt::PreciseTimer);
}

double GapMeter::end()
{
    look();
    killTimer(m_timer);
    return double(m_longest) / 1e6;
}

void GapMeter::look()
{
    m_longest = std::max(m_longest, m_clock.nsecsElapsed());
    m_clock.start();
}

void GapMeter::timerEvent(QTimerEvent *)
{
    look();
}

BenchServer::BenchServer(const QStringList &arguments)
{
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(QCoreApplication::applicationDirPath() + QStringLiteral("/bench_server"),
                    arguments);
    while (!m_process.canReadLine()) {
        if (!m_process.waitForReadyRead())
            giveUp(QStringLiteral("the server does not start"));
    }
    m_address = QString::fromLatin1(m_process.readLine().trimmed());
}

BenchServer::~BenchServer()
{
    m_process.closeWriteChannel();
    m_process.waitForFinished();
}

VideoInfo BenchServer::video(const QString &title, const QString &path) const
{
    VideoInfo info;
    info.pageUrl = url(QStringLiteral("/watch?v=1"));
    info.title = title;
    info.streams = {{QStringLiteral("640x360"), QStringLiteral("61"), QString(),
                     QStringLiteral("mp4"), url(path)}};
    return info;
}

bool holdsPattern(const QString &path, qint64 bytes)
{
    constexpr qint64 blockSize = 4096;
    constexpr qint64 step = 777'777;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() != bytes)
        return false;
    for (qint64 at = 0; at < bytes; at += step) {
        if (!file.seek(at))
            return false;
        const QByteArray block = file.read(blockSize);
        for (int i = 0; i < block.size(); ++i) {
            if (block.at(i) != patternByte(at + i))
                return false;
        }
    }
    return true;
}

void takeOutputFormat(const Sandbox &sandbox, const QString &extension, const QString &arguments)
{
    constexpr int id = 900;
    const QString path = sandbox.path(QStringLiteral("Profiles.xml"));
    const QString xml = QStringLiteral(
        "<profiles><video_quality><quality display=\"360p\" value=\"640x360\"/></video_quality>"
        "<save_as><group des=\"Format\"><format id=\"%1\" display=\"%2\" ext=\"%2\" size=\"0x0\" "
        "fixed_size=\"0\" value=\"-y -i $input %3 $output\"/></group></save_as></profiles>");
    writeFile(path, xml.arg(QString::number(id), extension, arguments).toUtf8());
    OutputProfileManager *formats = OutputProfileManager::instance();
    formats->setProgramFolder(QStringLiteral(REELKEEPER_BIN));
    if (!formats->load(path) || !formats->setOutputFormat(id))
        giveUp(QStringLiteral("the output format is not taken"));
}

void addFinishedJobs(DownloaderManager *manager, int count, const QString &file)
{
    for (int id = 1; id <= count; ++id) {
        auto job = manager->newJob();
        VideoInfo info;
        info.pageUrl = QStringLiteral("http://www.example.org/watch?v=abcdefgh%1").arg(id);
        info.title = QStringLiteral("A video with a title of the usual length, number %1").arg(id);
        info.streams = {{QStringLiteral("1280x720"), QStringLiteral("754"), QString(),
                         QStringLiteral("mp4"),
                         QStringLiteral("http://media.example.org/videoplayback?id=%1&").arg(id) +
                             QString(400, QLatin1Char('x'))}};
        job->init(info, id);
        JobRecord &record = job->record;
        record.video_state = JobState::Finished;
        record.video_cookies = QString(200, QLatin1Char('c'));
        record.download_bytes = 50 * MiB;
        record.total_bytes = 50 * MiB;
        record.video_mame = file;
        record.output_name = file;
        manager->addLoadedJob(std::move(job));
    }
}
