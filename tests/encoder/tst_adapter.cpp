#include "adapterprocess.h"
#include "arguments.h"
#include "inputprobe.h"
#include "progress.h"
#include "samples.h"
#include "testmain.h"

#include <algorithm>
#include <csignal>

static std::string box(const char *type, quint64 size, bool wide = false)
{
    QByteArray head(8, '\0');
    for (int i = 0; i < 4; ++i)
        head[3 - i] = static_cast<char>((wide ? 1 : size) >> (8 * i));
    head.replace(4, 4, type);
    for (int i = 0; wide && i < 8; ++i)
        head.append(static_cast<char>(size >> (8 * (7 - i))));
    const int body = size > 4096 ? 0 : static_cast<int>(size) - head.size();
    return head.append(QByteArray(qMax(0, body), 'x')).toStdString();
}

static QStringList words(const char *text)
{
    return QProcess::splitCommand(QString::fromUtf8(text));
}

// Also false for one that has ended and waits to be collected by whoever inherited it.
static bool isAlive(qint64 pid)
{
    QFile file(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray stat = file.readAll();
    return stat.mid(stat.lastIndexOf(')') + 2, 1) != "Z";
}

// The process and all below it.
static QList<qint64> processTree(qint64 pid)
{
    QList<qint64> ids = {pid};
    const QString list = QStringLiteral("/proc/%1/task/%1/children").arg(pid);
    for (const QByteArray &child : readFile(list).simplified().split(' ')) {
        if (!child.isEmpty())
            ids += processTree(child.toLongLong());
    }
    return ids;
}

static bool holdsNamelessFile(qint64 pid)
{
    const QDir open(QStringLiteral("/proc/%1/fd").arg(pid));
    const QFileInfoList entries = open.entryInfoList(QDir::AllEntries | QDir::System);
    return std::any_of(entries.begin(), entries.end(), [](const QFileInfo &entry) {
        return entry.symLinkTarget().endsWith(QLatin1String("(deleted)"));
    });
}

// The adapter as a process of its own between the real FFmpeg, or a script in its place, and files.
class AdapterTest final : public QObject
{
    Q_OBJECT

public:
    explicit AdapterTest(Sandbox &sandbox)
        : m_sandbox(sandbox)
    {
    }

private slots:
    void cleanup()
    {
        for (const QString &name : outputs())
            QFile::remove(m_sandbox.outputFolder() + name);
    }

    void sizeBecomesFilter_data()
    {
        QTest::addColumn<QString>("options");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const char *options, const char *expected) {
            QTest::newRow(name) << QString::fromUtf8(options) << QString::fromUtf8(expected);
        };
        row("plain", "-s 320x240 -vcodec h", "-vcodec h -vf scale=320:240,setsar=1");
        row("bars above and below", "-s 320x180 -padtop 30 -padbottom 30 -padcolor 0x102030",
            "-vf scale=320:180,pad=320:240:0:30:color=0x102030,setsar=1");
        row("bars at the sides", "-s 362x272 -padleft 58 -padright 60 -padcolor 0x000000",
            "-vf scale=362:272,pad=480:272:58:0:color=0x000000,setsar=1");
        row("odd picture, even frame", "-s 361x272 -padleft 58 -padright 61",
            "-vf scale=360:272,pad=480:272:58:0:color=0x000000,setsar=1");
        row("odd frame", "-s 641x361", "-vf scale=640:360,setsar=1");
        row("own filter first", "-vf crop=100:100 -s 320x240 -ac 2",
            "-ac 2 -vf crop=100:100,scale=320:240,setsar=1");
        row("own filter alone", "-filter:v yadif -ac 2", "-ac 2 -vf yadif");
        row("no size known", "-s 0x0 -ac 2", "-ac 2 -vf scale=trunc(iw/2)*2:trunc(ih/2)*2");
        row("unreadable size", "-s 12x -padtop 4", "-vf scale=trunc(iw/2)*2:trunc(ih/2)*2");
        row("size left empty", "-s  -vcodec h", "-vcodec h -vf scale=trunc(iw/2)*2:trunc(ih/2)*2");
        row("sound only", "-s 320x240 -padtop 4 -vn", "-vn");
        row("copied picture", "-s 320x240 -vcodec copy", "-vcodec copy");
    }
    void sizeBecomesFilter()
    {
        QFETCH(QString, options);
        QFETCH(QString, expected);
        std::vector<std::string> arguments = {"-y", "-s", "99x99", "-i", "-"};
        for (const QString &word : options.split(QLatin1Char(' '), Qt::SkipEmptyParts))
            arguments.push_back(word.toStdString());
        arguments.push_back("/a b/out.mp4");
        const EncoderCommand command = translateArguments(arguments);
        QCOMPARE(command.output, std::string("/a b/out.mp4"));
        QCOMPARE(command.arguments.at(command.inputIndex), std::string("-"));
        QStringList result;
        for (const std::string &argument : command.arguments)
            result << QString::fromStdString(argument);
        QCOMPARE(result.join(QLatin1Char(' ')),
                 QStringLiteral("-nostdin -stats -y -s 99x99 -i - %1 /a b/out.mp4").arg(expected));
    }

    void indexIsLookedFor_data()
    {
        QTest::addColumn<QByteArray>("head");
        QTest::addColumn<int>("kind");
        const auto row = [](const char *name, const std::string &head, InputKind kind) {
            QTest::newRow(name) << QByteArray::fromStdString(head) << int(kind);
        };
        const std::string ftyp = box("ftyp", 24);
        row("nothing yet", "", InputKind::Undecided);
        row("part of a header", ftyp.substr(0, 7), InputKind::Undecided);
        row("index first", ftyp + box("moov", 900000), InputKind::Streamable);
        row("pictures first", ftyp + box("mdat", 900000), InputKind::NeedsFile);
        row("pictures to the end", ftyp + box("wide", 8) + box("mdat", 0), InputKind::NeedsFile);
        row("pictures in a long box", box("mdat", 1ULL << 33, true), InputKind::NeedsFile);
        row("fillers before",
            ftyp + box("free", 100) + box("uuid", 90, true) + box("abcd", 9) + box("moov", 90),
            InputKind::Streamable);
        row("behind a long filler", ftyp + box("free", 5000000), InputKind::Undecided);
        row("no end of a filler", ftyp + box("free", 5000000) + std::string(1 << 20, 'x'),
            InputKind::NeedsFile);
        row("half a long size", ftyp + box("free", 1ULL << 33, true).substr(0, 12),
            InputKind::Undecided);
        row("a size past everything", ftyp + box("free", ~0ULL - 3, true) + std::string(99, 'x'),
            InputKind::Streamable);
        row("a size too small", ftyp + box("free", 3) + std::string(99, 'x'),
            InputKind::Streamable);
        row("FLV", std::string("FLV\1\5\0\0\0\11\0\0\0\0", 13), InputKind::Streamable);
    }
    void indexIsLookedFor()
    {
        QFETCH(QByteArray, head);
        QTEST(int(probeInput(head.toStdString())), "kind");
    }

    void progressIsReadable_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *line, const char *expected) {
            QTest::newRow(line) << QString::fromUtf8(line) << QString::fromUtf8(expected);
        };
        row("frame=  250 fps= 30 size= 1kB time=00:00:10.00 bitrate=8kbits/s speed=1x",
            "frame=  250 fps= 30 size= 1kB time=10.00 bitrate=8kbits/s speed=1x");
        row("size= 24kB time=101:01:03.50 bitrate= 64.9kbits/s",
            "frame=    0 size= 24kB time=363663.50 bitrate= 64.9kbits/s");
        row("frame=    0 size= 0kB time=N/A bitrate=N/A",
            "frame=    0 size= 0kB time=0.00 bitrate=N/A");
        row("frame=    1 size= 0kB time=-00:00:00.02 bitrate=N/A",
            "frame=    1 size= 0kB time=0.00 bitrate=N/A");
        row("    title : size= time=00:00:01.00 bitrate=", "");
        row("size=big", "");
    }
    void progressIsReadable()
    {
        QFETCH(QString, line);
        const std::string result = readableProgress(line.toStdString());
        QTEST(QString::fromStdString(result), "expected");
    }

    void videoIsConverted_data()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<QString>("size"); // empty: sound only
        const QStringList padded = words("-s 320x180 -padtop 30 -padbottom 30 -padcolor 0x000000 "
                                         "-vcodec libx264 -preset ultrafast -acodec aac");
        const QString size = QStringLiteral("320x240");
        QTest::newRow("index first") << samplePath(Sample::Mp4IndexFirst) << padded << size;
        QTest::newRow("index last") << samplePath(Sample::Mp4IndexLast) << padded << size;
        QTest::newRow("FLV") << samplePath(Sample::Flv) << padded << size;
        QTest::newRow("silent about all")
            << samplePath(Sample::Flv) << (words("-loglevel error") + padded) << size;
        QTest::newRow("sound of index last")
            << samplePath(Sample::Mp4IndexLast) << words("-vn -acodec aac") << QString();
    }
    void videoIsConverted()
    {
        QFETCH(QString, input);
        QFETCH(QStringList, options);
        QFETCH(QString, size);
        const AdapterEnd end = runAdapter(command(options), input);
        QVERIFY2(end.code == 0, end.errors.right(1000));
        const MediaFile media = probeMedia(output());
        QCOMPARE(media.size, size);
        QVERIFY(media.hasSound);
        QVERIFY(qAbs(media.seconds - 3) < 0.2);
        QCOMPARE(outputs().size(), 1);

        double seconds = -1;
        for (const QByteArray &part : end.errors.split('\r')) {
            const QRegExp progress(QStringLiteral("^frame=[ \t]*[0-9]+.*time=[ \t]*([0-9\\.]+)"));
            if (progress.indexIn(QString::fromUtf8(part).remove(QLatin1Char('\n'))) == 0)
                seconds = progress.cap(1).toDouble();
        }
        QVERIFY2(qAbs(seconds - 3) < 0.2, qPrintable(QString::number(seconds)));
    }

    void failureIsTold_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("encoder"); // a path, or a script after "#!"
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("said");
        const QString flv = samplePath(Sample::Flv);
        const auto row = [&](const char *name, const QStringList &arguments, const QString &input,
                             const char *encoder, int code, const char *said) {
            QTest::newRow(name) << arguments << input << QString::fromUtf8(encoder) << code
                                << QString::fromUtf8(said);
        };
        const QStringList copy = command(words("-vcodec copy -acodec copy"));
        const QStringList nowhere = words("-y -i - -vcodec copy /nowhere/at/all.mp4");
        row("bad template", command(words("-vcodec no_such_codec")), flv, "", 1, "no_such_codec");
        row("no FFmpeg", copy, flv, "/nowhere/ffmpeg", 1, "FFmpeg was not found");
        row("itself as FFmpeg", copy, flv, ADAPTER, 1, "FFmpeg was not found");
        row("nowhere to write", nowhere, flv, "", 1, "No such file or directory");
        row("nowhere to collect", nowhere, samplePath(Sample::Mp4IndexLast), "", 1,
            "cannot collect the video");
        row("no input", copy, QStringLiteral("/dev/null"), "", 1, "");
        row("full disk", words("-y -i - -vcodec copy -f flv /dev/full"), flv, "", 1,
            "No space left");
        row("exit 255", copy, flv, "#!exit 255", 254, "");
        row("killed", copy, flv, "#!kill -9 $$", 254, "");
        row("nothing written", copy, flv, "#!cat >/dev/null", 1, "was not written");
        row("empty file", copy, flv, "#!: >\"$out\"", 1, "is empty");
        row("write failure", copy, flv,
            "#!ffmpeg \"$@\"; echo 'av_interleaved_write_frame(): No space left on device' >&2", 1,
            "could not be written: av_interleaved_write_frame()");
        row("picture lost", copy, flv, "#!ffmpeg -i - -vn -acodec copy -f mp4 \"$out\"", 1,
            "holds no picture");
        row("only headers", copy, flv,
            "#!ffmpeg -i - -t 0 -vcodec copy -f mp4 -movflags empty_moov \"$out\"", 1, "holds no");
    }
    void failureIsTold()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, input);
        QFETCH(QString, encoder);
        QFETCH(QString, said);
        if (encoder.startsWith(QLatin1String("#!")))
            encoder = script(encoder.mid(2));
        const AdapterEnd end = runAdapter(arguments, input, encoder);
        QTEST(end.code, "code");
        QVERIFY2(QString::fromUtf8(end.errors).contains(said), end.errors.right(1000));
    }

    void videoCutBeforeItsIndexFails()
    {
        const QString cut = m_sandbox.path(QStringLiteral("cut.mp4"));
        QVERIFY(writeFile(cut, readFile(samplePath(Sample::Mp4IndexLast)).left(50000)));
        QVERIFY(runAdapter(command(words("-vcodec copy")), cut).code == 1);
    }

    void floodOfMessagesFlows()
    {
        const QString flood = script(
            QStringLiteral("yes 'a line of the flood' | head -c 4000000 >&2; ffmpeg \"$@\""));
        const AdapterEnd end =
            runAdapter(command(words("-vcodec copy")), samplePath(Sample::Flv), flood);
        QCOMPARE(end.code, 0);
        QVERIFY(end.errors.count("a line of the flood\n") >= 4000000 / 20 - 1);
    }

    void killingTakesAllWithIt_data()
    {
        QTest::addColumn<int>("sample");
        QTest::addColumn<int>("signal");
        QTest::addColumn<int>("processes");
        QTest::newRow("while collecting") << int(Sample::Mp4IndexLast) << SIGKILL << 1;
        QTest::newRow("while encoding") << int(Sample::Flv) << SIGKILL << 2;
        QTest::newRow("by SIGTERM") << int(Sample::Flv) << SIGTERM << 2;
        QTest::newRow("with its parent") << int(Sample::Flv) << SIGKILL << 3;
    }
    void killingTakesAllWithIt()
    {
        QFETCH(int, sample);
        QFETCH(int, signal);
        QFETCH(int, processes);
        QStringList line = QStringList(QStringLiteral(ADAPTER)) + command(words("-vcodec copy"));
        if (processes == 3)
            line = QStringList{QStringLiteral("sh"), QStringLiteral("-c"),
                               QStringLiteral("\"$@\"; :"), QStringLiteral("sh")} +
                   line;
        QProcess process;
        process.start(line.takeFirst(), line);
        QVERIFY(process.waitForStarted());
        process.write(readFile(samplePath(Sample(sample))).left(40000));
        QList<qint64> ids;
        QTRY_COMPARE((ids = processTree(process.processId())).size(), processes);
        if (Sample(sample) == Sample::Mp4IndexLast)
            QTRY_VERIFY(holdsNamelessFile(ids.first()));
        ::kill(static_cast<pid_t>(ids.first()), signal);
        QVERIFY(process.state() == QProcess::NotRunning || process.waitForFinished());
        for (qint64 id : ids)
            QTRY_VERIFY(!isAlive(id));
        if (Sample(sample) == Sample::Mp4IndexLast)
            QCOMPARE(outputs(), QStringList());
    }

private:
    QString output() const { return m_sandbox.outputFolder() + QStringLiteral("a \"b\".mp4"); }
    QStringList command(const QStringList &options) const
    {
        return words("-y -i -") + options + QStringList(output());
    }
    QStringList outputs() const
    {
        return QDir(m_sandbox.outputFolder()).entryList(QDir::Files | QDir::Hidden);
    }
    // A program in FFmpeg's place, that leaves the look at the result to the real one.
    QString script(const QString &text) const
    {
        const QString path = m_sandbox.path(QStringLiteral("stand-in"));
        writeFile(path, "#!/bin/sh\n[ \"$1\" = -hide_banner ] && exec ffmpeg \"$@\"\n"
                        "for out; do :; done\n" +
                            text.toUtf8() + '\n');
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return path;
    }

    Sandbox &m_sandbox;
};

REELKEEPER_TEST_MAIN(AdapterTest)
#include "tst_adapter.moc"
