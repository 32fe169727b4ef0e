#include "adapterprocess.h"
#include "adapterwords.h"
#include "encodercommand.h"
#include "literals.h"
#include "mediafile.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "testmain.h"
#include "texts.h"

#include <QSet>

// The formats that are shipped: each one makes a file that plays, whatever the video looks like.
class ProfilesTest final : public SandboxTest
{
    Q_OBJECT

public:
    using SandboxTest::SandboxTest;

private slots:
    void initTestCase() { QVERIFY(m_profiles.load(QStringLiteral(PROFILES))); }

    void listsAreInOrder()
    {
        QCOMPARE(m_profiles.qualities().value(2).value, "854x480"_q);
        QVERIFY(m_profiles.itemById(0));
        QSet<int> ids;
        for (const auto &group : m_profiles.groups()) {
            for (const auto &item : group->items) {
                QVERIFY2(!ids.contains(item->id), qPrintable(item->display));
                ids.insert(item->id);
            }
        }
        QVERIFY(ids.size() > 20);
    }

    void formatKeepsTheShape_data()
    {
        QTest::addColumn<int>("id");
        for (const auto &group : m_profiles.groups()) {
            for (const auto &item : group->items) {
                if (item->id != 0)
                    QTest::newRow(qPrintable(item->display)) << item->id;
            }
        }
    }

    void formatKeepsTheShape()
    {
        QFETCH(int, id);
        const SaveAsItem &item = *m_profiles.itemById(id);
        const bool soundOnly = item.value.contains(QLatin1String(" -vn "));
        const bool copies = item.value.contains(QLatin1String("-acodec copy"));
        struct Run
        {
            Shape source;
            QSize frame;
            QString output;
            std::unique_ptr<AdapterProcess> adapter;
        };
        Run runs[] = {{Shape::Wide, {320, 180}, {}, {}},
                      {Shape::Anamorphic, {360, 288}, {}, {}},
                      {Shape::Turned, {180, 320}, {}, {}},
                      {Shape::Odd, {321, 241}, {}, {}}};
        for (Run &run : runs) {
            if (soundOnly && run.source != Shape::Wide)
                continue;
            // No page tells the truth about all of them.
            const EncoderSize size = encoderSize(item, "640x480"_q);
            run.output = encoderOutputPath(m_sandbox.outputFolder(),
                                           "{A B}%1"_q.arg(int(run.source)), item, "0x0"_q, true);
            const QString command =
                encoderArguments(item.value, {size.argument, title(), run.output});
            const QString rule = QString::fromStdString(frameRuleText(size.rule));
            run.adapter = std::make_unique<AdapterProcess>(
                QProcess::splitCommand(command), shapePath(run.source, m_sandbox.path() + "/"_q),
                QStringList(QLatin1String(frameRuleVariable) + "="_q + rule));
        }
        for (Run &run : runs) {
            if (!run.adapter)
                continue;
            const AdapterEnd end = run.adapter->end();
            if (run.source == Shape::Turned && copies && item.ext == "mkv"_q) {
                QVERIFY2(end.code == 1 && end.errors.contains("turned"), end.errors.right(1000));
                continue;
            }
            QVERIFY2(end.code == 0, end.errors.right(1000));
            const MediaFile media = lookAt(run.output);
            QCOMPARE(media.channels, copies ? 1 : 2);
            QVERIFY2(qAbs(media.seconds - 0.6) < 0.25, qPrintable(QString::number(media.seconds)));
            if (item.ext != "mpg"_q)
                QCOMPARE(media.title, title());
            if (soundOnly) {
                QVERIFY(media.frame.isEmpty());
                continue;
            }
            const QSize even(run.frame.width() / 2 * 2, run.frame.height() / 2 * 2);
            const QSize kept = copies ? run.frame : even;
            const FrameSize size = splitSize(item.size);
            QCOMPARE(media.frame, item.fixedSize ? QSize(size.width, size.height) : kept);
            const QByteArray said =
                QByteArray::fromStdString(pictureLine({media.frame.width(), media.frame.height()}));
            QVERIFY2(end.errors.endsWith(said + '\n'), end.errors.right(200));
            QVERIFY2(media.shows(shownShape(run.source)), qPrintable(media.text()));
        }
    }

private:
    static QString title() { return "a \"b\" - c 100%; 'd' \\e=f"_q; }

    Options m_options;
    OutputProfileManager m_profiles{m_options};
};

REELKEEPER_TEST_MAIN(ProfilesTest)
#include "tst_profiles.moc"
