#include "adapterprocess.h"
#include "encodercommand.h"
#include "literals.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "samples.h"
#include "testmain.h"

#include <QSet>

// The formats that are shipped: each one makes a file that plays.
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

    void templateMakesPlayableFile_data()
    {
        QTest::addColumn<int>("id");
        for (const auto &group : m_profiles.groups()) {
            for (const auto &item : group->items) {
                if (item->id != 0)
                    QTest::newRow(qPrintable(item->display)) << item->id;
            }
        }
    }

    void templateMakesPlayableFile()
    {
        QFETCH(int, id);
        const SaveAsItem &item = *m_profiles.itemById(id);
        const EncoderSize size = encoderSize(item, "640x360"_q);
        const QString output =
            encoderOutputPath(m_sandbox.outputFolder(), "{A B}"_q, item, size.dimension, true);
        const QString command = encoderArguments(item.value, size.argument, output);
        const AdapterEnd end =
            runAdapter(QProcess::splitCommand(command), samplePath(Sample::Mp4IndexFirst));
        QVERIFY2(end.code == 0, end.errors.right(1000));

        const MediaFile media = probeMedia(output);
        const bool soundOnly = item.value.contains(QLatin1String(" -vn "));
        QCOMPARE(media.size, soundOnly ? QString() : size.dimension);
        QVERIFY(media.hasSound);
        QVERIFY2(qAbs(media.seconds - 3) < 0.25, qPrintable(QString::number(media.seconds)));
    }

private:
    Options m_options;
    OutputProfileManager m_profiles{m_options};
};

REELKEEPER_TEST_MAIN(ProfilesTest)
#include "tst_profiles.moc"
