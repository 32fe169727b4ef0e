#pragma once

#include "sandbox.h"
#include "videoinfo.h"

#include <QElapsedTimer>
#include <QObject>
#include <QProcess>
#include <QStringList>
#include <QVector>

#include <functional>

class DownloaderManager;
class QCoreApplication;

constexpr qint64 MiB = 1024 * 1024;
constexpr int Runs = 5; // of everything a median is taken of

// Prints one line of the table, "name | value | target". A limit is the largest good value; one
// below zero means that there is none.
void printRow(const QString &name, double value, const QString &unit, double limit = -1);
void printNote(const QString &name, const QString &text);

double median(QVector<double> values);
double milliseconds(const std::function<void()> &work);
double medianMilliseconds(const std::function<void()> &work); // of Runs runs

// Costs of this process, all its threads included.
double processorSeconds();
qint64 statusValue(const char *field); // of /proc/self/status as it stands there: kB or a count
void forgetMemoryPeak();
qint64 memoryPeak();   // bytes resident at most since then
qint64 memoryNow();    // bytes resident
qint64 bytesWritten(); // into files, so far

struct Cost
{
    double wall = 0;      // seconds
    double processor = 0; // seconds, user and system
};
// Runs a program to its end, its output thrown away; ends this process when the program fails.
Cost runTool(const QStringList &command);
bool haveTool(const QString &name);
// Bytes of the long input: what --size says in MiB, else usualMiB.
qint64 askedSize(const QCoreApplication &application, int usualMiB);
[[noreturn]] void giveUp(const QString &why);

// The longest time in which the event loop of this thread did not come round.
class GapMeter final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(GapMeter)

public:
    static constexpr int Interval = 2; // milliseconds between two looks

    explicit GapMeter(QObject *parent = nullptr);
    ~GapMeter() override;
    void begin();
    double end(); // milliseconds

private:
    void look();
    void timerEvent(QTimerEvent *event) override;

    QElapsedTimer m_clock;
    qint64 m_longest = 0; // nanoseconds
    int m_timer = 0;
};

// The site in a process of its own, and videos on it.
class BenchServer final
{
public:
    explicit BenchServer(const QStringList &arguments = QStringList());
    ~BenchServer();
    BenchServer(const BenchServer &) = delete;
    BenchServer &operator=(const BenchServer &) = delete;

    QString url(const QString &path) const { return m_address + path; }
    QString streamPath(qint64 bytes) const { return QStringLiteral("/stream/%1").arg(bytes); }
    VideoInfo video(const QString &title, const QString &path) const;

private:
    QProcess m_process;
    QString m_address;
};

// The file has that length and every block that is looked at is the stream's.
bool holdsPattern(const QString &path, qint64 bytes);

// Jobs from now on are converted into files of that extension, with these arguments for FFmpeg.
void takeOutputFormat(const Sandbox &sandbox, const QString &extension, const QString &arguments);

// Finished jobs with ids from 1 on, all with the same final file.
void addFinishedJobs(DownloaderManager *manager, int count, const QString &file);
