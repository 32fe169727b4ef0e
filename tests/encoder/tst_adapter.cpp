#include "adapterprocess.h"
#include "inputprobe.h"
#include "literals.h"
#include "mediafile.h"
#include "progress.h"
#include "samples.h"
#include "testmain.h"

#include <QtEndian>

#include <QDir>

#include <csignal>
#include <sys/resource.h>

// The head of a box of an MP4 file, and its content as far as it is short.
static std::string box(const char *type, quint32 size)
{
    QByteArray head(4, Qt::Uninitialized);
    qToBigEndian(size, head.data());
    const int body = size > 4096 ? 0 : qMax(0, int(size) - 8);
    return (head + type + QByteArray(body, 'x')).toStdString();
}

static QStringList words(const QByteArray &text)
{
    return QProcess::splitCommand(QString::fromUtf8(text));
}

// Also false for one that has ended and waits to be collected by whoever inherited it.
static bool isAlive(qint64 pid)
{
    const QByteArray stat = readFile("/proc/%1/stat"_q.arg(pid));
    return !stat.isEmpty() && !stat.contains(") Z ");
}

// The process and all below it.
static QList<qint64> processTree(qint64 pid)
{
    QList<qint64> ids = {pid};
    const QString list = "/proc/%1/task/%1/children"_q.arg(pid);
    for (const QByteArray &child : readFile(list).simplified().split(' ')) {
        if (!child.isEmpty())
            ids += processTree(child.toLongLong());
    }
    return ids;
}

// The adapter as a process of its own between the real FFmpeg, or a script in its place, and files.
class AdapterTest final : public SandboxTest
{
    Q_OBJECT

public:
    using SandboxTest::SandboxTest;

private slots:
    void cleanup()
    {
        for (const QString &name : outputs())
            QFile::remove(m_sandbox.outputFolder() + name);
    }

    void frameKeepsTheRule_data()
    {
        QTest::addColumn<int>("source");
        QTest::addColumn<QString>("rule");
        QTest::addColumn<QSize>("frame");
        const auto row = [](const char *options, Shape source, const char *rule, QSize frame) {
            QTest::newRow(options) << int(source) << QString::fromLatin1(rule) << frame;
        };
        row("-s 640x480", Shape::Anamorphic, "source", {360, 288});
        row("-s  -vcodec mpeg4", Shape::Wide, "source", {320, 180});
        row("-s 64x48", Shape::Anamorphic, "within 512x288", {360, 288});
        row("-s 640x480 ", Shape::Anamorphic, "within 256x240", {180, 144});
        row("-s 160x90 -padtop 15", Shape::Turned, "within 160x120", {160, 120});
        row("-s 160x90 -padtop 15 -padcolor none", Shape::Turned, "within 161x121", {68, 120});
        row("-s 320x180 -padtop 30", Shape::Turned, "exactly 321x241", {320, 240});
        row("-s 704x576 -aspect 16:9", Shape::Odd, "exactly 704x576", {704, 576});
        row("-s 160x90 -padtop 15 -padbottom 15", Shape::Wide, "", {160, 120});
        row("-vcodec mpeg4", Shape::Wide, "exactly 64x48", {320, 180}); // asks for no frame
        row("-s 0x0", Shape::Odd, "", {320, 240});
        row("-vf crop=200:150 -s 160x90", Shape::Odd, "", {160, 90});
    }
    void frameKeepsTheRule()
    {
        QFETCH(int, source);
        QFETCH(QString, rule);
        const AdapterEnd end = AdapterProcess(command(QTest::currentDataTag()),
                                              shapePath(Shape(source), m_sandbox.path() + "/"_q),
                                              QStringList("REELKEEPER_FRAME="_q + rule))
                                   .end();
        QVERIFY2(end.code == 0, end.errors.right(1000));
        const MediaFile media = lookAt(output());
        QTEST(media.frame, "frame");
        QVERIFY2(media.shows(shownShape(Shape(source))), qPrintable(media.text()));
    }

    void indexIsLookedFor()
    {
        const std::string ftyp = box("ftyp", 24);
        const std::string longFree(box("free", 1).append("\0\0\0\2\0\0\0\0", 8));
        const std::string shortFree(box("free", 1).append("\0\0\0\0\0\0\0\20", 8));
        const QPair<std::string, InputKind> cases[] = {
            {"", InputKind::Undecided},
            {ftyp.substr(0, 7), InputKind::Undecided},
            {ftyp + box("moov", 900000), InputKind::Streamable},
            {ftyp + box("free", 100) + box("abcd", 9) + box("mdat", 0), InputKind::NeedsFile},
            {ftyp + box("free", 5000000), InputKind::Undecided},
            {ftyp + box("free", 5000000) + std::string(1 << 20, 'x'), InputKind::NeedsFile},
            {ftyp + longFree.substr(0, 12), InputKind::Undecided},
            {ftyp + shortFree + box("mdat", 0), InputKind::NeedsFile},
            {ftyp + box("free", 3) + std::string(99, 'x'), InputKind::Streamable},
            {std::string("FLV\1\5\0\0\0\11\0\0\0\0", 13), InputKind::Streamable},
        };
        for (const auto &row : cases)
            QVERIFY2(probeInput(row.first) == row.second, row.first.substr(0, 99).data());
    }

    void progressIsReadable()
    {
        const QPair<std::string, std::string> cases[] = {
            {"frame=  250 fps= 30 size= 1kB time=00:00:10.00 bitrate=8kbits/s speed=1x",
             "frame=  250 fps= 30 size= 1kB time=10.00 bitrate=8kbits/s speed=1x"},
            {"size= 24kB time=101:01:03.50 bitrate= 64.9kbits/s",
             "frame=    0 size= 24kB time=363663.50 bitrate= 64.9kbits/s"},
            {"frame=    1 size= 0kB time=-00:00:00.02 bitrate=N/A",
             "frame=    1 size= 0kB time=0.00 bitrate=N/A"},
            {"    title : size= time=00:00:01.00 bitrate=", ""},
        };
        for (const auto &row : cases)
            QCOMPARE(readableProgress(row.first), row.second);
    }

    void progressComesFromASilentTemplate()
    {
        const AdapterEnd end =
            AdapterProcess(command("-loglevel error -s 320x180 -padtop 60 -vcodec mpeg4"),
                           samplePath(Sample::Mp4IndexLast))
                .end();
        QVERIFY2(end.code == 0, end.errors.right(1000));
        QVERIFY(end.errors.endsWith("the picture has 320x240 pixels\n"));
        QVERIFY(end.errors.contains("\rframe=") && end.errors.contains(" time=3.0"));
        QCOMPARE(outputs().size(), 1);
    }

    void endIsTold_data()
    {
        QTest::addColumn<QByteArray>("options"); // and the output, when it is elsewhere
        QTest::addColumn<QString>("encoder");    // a path, or a script after "#!"
        QTest::addColumn<int>("code");
        QTest::addColumn<QByteArray>("said");
        QTest::addColumn<QString>("input");
        const auto row = [](const char *name, const QByteArray &options, const char *encoder,
                            int code, const QByteArray &said,
                            const QString &input = samplePath(Sample::Flv)) {
            QTest::newRow(name) << options << QString::fromLatin1(encoder) << code << said << input;
        };
        const QString indexLast = samplePath(Sample::Mp4IndexLast);
        const QString cut = m_sandbox.path("cut.mp4"_q);
        QVERIFY(writeFile(cut, readFile(indexLast).left(50000)));
        const QString cover = m_sandbox.path("cover.mp3"_q);
        const char *const made = "-v error -f lavfi -i sine=d=1 -f lavfi -i color=s=16x16:d=0.04"
                                 " -map 0 -map 1 -vcodec mjpeg -pix_fmt yuvj420p %1";
        QCOMPARE(runFfmpeg(QString::fromLatin1(made), cover), QByteArray());
        row("bad template", "-vcodec no_such_codec", "", 1, "no_such_codec");
        row("no FFmpeg", "", "/nowhere/ffmpeg", 1, "FFmpeg was not found");
        row("itself as FFmpeg", "", ADAPTER, 1, "FFmpeg was not found");
        row("cut before its index", "-vcodec copy", "", 1, "", cut);
        row("nowhere to write", "-vn /nowhere/at/all.mp4", "", 1, "No such file or directory");
        row("full disk", "-vcodec copy -f flv /dev/full", "", 1, "No space left");
        const int niceness = qMin(19, getpriority(PRIO_PROCESS, 0) + 10);
        row("low priority", "", "#!echo niceness $(nice) >&2; exit 1", 1,
            "niceness " + QByteArray::number(niceness));
        row("exit 255", "", "#!exit 255", 254, "");
        row("killed", "", "#!kill -9 $$", 254, "");
        row("nothing written", "", "#!cat >/dev/null", 1, "was not written");
        row("empty file", "", "#!: >\"$out\"", 1, "is empty");
        row("write failure", "-vcodec copy",
            "#!ffmpeg \"$@\"; echo 'av_interleaved_write_frame(): No space left on device' >&2", 1,
            "could not be written: av_interleaved_write_frame()");
        row("damaged", "", "#!echo no video >\"$out\"", 1, "is damaged");
        row("sound lost", "-vn", "#!ffmpeg -i - -an -vcodec copy -f mp4 \"$out\"", 1,
            "holds no sound");
        row("no packets", "-vn", "#!ffmpeg -i - -vn -t 0 -f wav \"$out\"", 1,
            "holds nothing to play");
        row("cover only", "", "#!ffmpeg \"$@\"; exec sleep 99", 1, "the video has no picture",
            cover);
        row("sound by its name", "-f wav " + m_sandbox.path("x.WAV"_q).toUtf8(), "", 0, "0x0");
        row("picture lost", "", "#!ffmpeg -i - -vn -acodec copy -f mp4 \"$out\"", 1,
            "holds no picture");
    }
    void endIsTold()
    {
        QFETCH(QByteArray, options);
        QFETCH(QString, encoder);
        QFETCH(QByteArray, said);
        QFETCH(QString, input);
        if (encoder.startsWith("#!"_q))
            encoder = script(encoder.mid(2).toUtf8());
        QStringList arguments = command(options);
        if (options.contains(" /"))
            arguments.removeLast();
        const AdapterEnd end =
            AdapterProcess(arguments, input, {"REELKEEPER_FFMPEG="_q + encoder}).end();
        QTEST(end.code, "code");
        QVERIFY2(end.errors.contains(said), end.errors.right(1000));
    }

    void floodOfMessagesFlows()
    {
        const QString flood =
            script("yes 'a line of the flood' | head -c 4000000 >&2; ffmpeg \"$@\"");
        const AdapterEnd end = AdapterProcess(command("-vcodec copy"), samplePath(Sample::Flv),
                                              {"REELKEEPER_FFMPEG="_q + flood})
                                   .end();
        QCOMPARE(end.code, 0);
        QVERIFY(end.errors.count("a line of the flood\n") >= 4000000 / 20 - 1);
    }

    void indexLastIsReadFromItsFile()
    {
        const QByteArray video = readFile(samplePath(Sample::Mp4IndexLast));
        const QString source = m_sandbox.path("source.mp4"_q);
        const QPair<int, QByteArray> cases[] = {
            {video.size(), QByteArray()},
            {50000, "is shorter than what was read"},
            {-1, "cannot read the video from its file: No such file"},
        };
        for (const auto &row : cases) {
            QVERIFY(row.first < 0 ? QFile::remove(source)
                                  : writeFile(source, video.left(row.first)));
            QProcess process;
            setSource(&process, source);
            process.start(QStringLiteral(ADAPTER), command("-vcodec copy"));
            process.write(video);
            process.waitForBytesWritten();
            QVERIFY(outputs().isEmpty()); // nothing is copied
            process.closeWriteChannel();
            QVERIFY(process.waitForFinished());
            QCOMPARE(process.exitCode(), row.second.isEmpty() ? 0 : 1);
            QVERIFY(process.readAllStandardError().contains(row.second));
            cleanup();
        }
    }

    void killingTakesAllWithIt_data()
    {
        QTest::addColumn<int>("sample");
        QTest::addColumn<int>("signal");
        QTest::addColumn<int>("processes");
        QTest::newRow("while the input comes") << int(Sample::Mp4IndexLast) << SIGKILL << 1;
        QTest::newRow("while encoding") << int(Sample::Flv) << SIGKILL << 2;
        QTest::newRow("by SIGTERM") << int(Sample::Flv) << SIGTERM << 2;
        QTest::newRow("with its parent") << int(Sample::Flv) << SIGKILL << 3;
    }
    void killingTakesAllWithIt()
    {
        QFETCH(int, sample);
        QFETCH(int, signal);
        QFETCH(int, processes);
        QStringList line = QStringList(QStringLiteral(ADAPTER)) + command("-vcodec copy");
        if (processes == 3)
            line = QStringList{"sh"_q, "-c"_q, "\"$@\"; :"_q, "sh"_q} + line;
        QProcess process;
        setSource(&process, samplePath(Sample(sample)));
        process.start(line.takeFirst(), line);
        const QByteArray video = readFile(samplePath(Sample(sample)));
        process.write(video.left(video.size() - 100));
        // By now the adapter has taken more than a pipe holds.
        QTRY_COMPARE(process.bytesToWrite(), qint64(0));
        QList<qint64> ids;
        QTRY_COMPARE((ids = processTree(process.processId())).size(), processes);
        ::kill(static_cast<pid_t>(ids.first()), signal);
        QVERIFY(process.state() == QProcess::NotRunning || process.waitForFinished());
        for (qint64 id : ids)
            QTRY_VERIFY(!isAlive(id));
        QVERIFY(processes > 1 || outputs().isEmpty());
    }

private:
    static void setSource(QProcess *adapter, const QString &path)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("REELKEEPER_SOURCE_FILE"_q, path);
        adapter->setProcessEnvironment(environment);
    }
    QString output() const { return m_sandbox.outputFolder() + "a \"b\".mp4"_q; }
    QStringList command(const QByteArray &options) const
    {
        return words("-y -i - " + options) + QStringList(output());
    }
    QStringList outputs() const
    {
        return QDir(m_sandbox.outputFolder()).entryList(QDir::Files | QDir::Hidden);
    }
    // A program in FFmpeg's place, that leaves the look at the result to the real one.
    QString script(const QByteArray &text) const
    {
        const QString path = m_sandbox.path("stand-in"_q);
        writeFile(path, "#!/bin/sh\n[ \"$1\" = -hide_banner ] && exec ffmpeg \"$@\"\n"
                        "for out; do :; done\n" +
                            text + '\n');
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return path;
    }
};

REELKEEPER_TEST_MAIN(AdapterTest)
#include "tst_adapter.moc"
