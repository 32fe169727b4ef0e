#include "appinfo.h"
#include "clipboardwatch.h"
#include "dlgsettings.h"
#include "exitcontrol.h"
#include "finisheditem.h"
#include "jobtexts.h"
#include "linklable.h"
#include "literals.h"
#include "modaldriver.h"
#include "options.h"
#include "testmain.h"

#include <QCheckBox>
#include <QClipboard>
#include <QMessageBox>
#include <QPainter>
#include <QStandardItemModel>

static constexpr int Width = 210; // the bar in it is 200 wide, from 5 to 204
static constexpr int Height = 40;

static QImage paint(int column, const QString &text, QStyle::State state = QStyle::State_None)
{
    QStandardItemModel model(1, 4);
    model.setData(model.index(0, column), text);
    QPixmap picture(16, 16);
    picture.fill(Qt::black);
    model.setData(model.index(0, 0), QIcon(picture), Qt::DecorationRole);
    QImage image(Width, Height, QImage::Format_RGB32);
    image.fill(Qt::white);
    QStyleOptionViewItem option;
    option.rect = image.rect();
    option.decorationSize = picture.size();
    option.state = QStyle::State_Enabled | state;
    option.showDecorationSelected = true;
    option.textElideMode = Qt::ElideNone;
    option.features = QStyleOptionViewItem::WrapText;
    QPainter painter(&image);
    DownloadItem(Qt::darkBlue, nullptr).paint(&painter, option, model.index(0, column));
    return image;
}

// The smallest rectangle around everything that is not white.
static QRect ink(const QImage &image)
{
    QRect result;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixelColor(x, y) != Qt::white)
                result |= QRect(x, y, 1, 1);
        }
    }
    return result;
}

// The pieces beside the window: what the lists show of a job, the settings, links, the
// rules of the clipboard and of hiding.
class WidgetsTest final : public SandboxTest
{
    Q_OBJECT

public:
    using SandboxTest::SandboxTest;

private slots:
    void informationNamesTheFormatOfAConversion()
    {
        JobData record;
        record.duration = 3725;
        record.video_dimension = "640x360"_q;
        record.outputFormatName = "100%1 MP4"_q;
        record.output_format = 3;
        QCOMPARE(basicInformation(record), " 01:02:05 640x360\n 100%1 MP4"_q);
    }

    void captionTellsTheTimeLeft()
    {
        static const struct
        {
            bool converted;
            double done;
            double total;
            int elapsed; // milliseconds
            const char *caption;
        } cases[] = {
            {false, 1048576, 4194304, 4000, "Time left:00:12"},
            {false, 77, -1, 4000, ""},
            {false, 0, 10, 4000, "Time left:Unknown"},
            {false, 5e11, 1e12, 86399000, "Time left:23:59:59"},
            {false, 5e11, 1e12, 86400000, "Time left:Unknown"},
            {true, 30.5, 61, 10000, "Time left:00:10"},
            {true, 12.25, 0, 10000, ""},
        };
        for (const auto &row : cases) {
            JobData record;
            record.output_format = row.converted ? 2 : 0;
            record.download_bytes = row.converted ? 1 : qint64(row.done);
            record.total_bytes = row.converted ? 2 : qint64(row.total);
            record.convertedSeconds = row.converted ? float(row.done) : 1;
            record.duration = row.converted ? int(row.total) : 2;
            const auto reading = readProgress(progressData(record, row.elapsed));
            QCOMPARE(reading ? reading->caption : QString(), QLatin1String(row.caption));
        }
        for (const char *bad : {"1 4 12 0 9", "1 0.009 12 4", "1 nan 12 0", ""})
            QVERIFY2(ink(paint(3, QLatin1String(bad))).isNull(), bad);
        QCOMPARE(spokenProgress("15.5 10 0 0"_q), "100%, Time left:00:00"_q);
    }

    void barIsFilledToTheShareDone()
    {
        const QMap<const char *, int> cases{
            {"1048576 4194304 12 0", 50}, {"15.5 10 0 0", 200}, {"-5 10 -1 0", 0}};
        const QImage empty = paint(3, "0 10 -1 1"_q);
        QCOMPARE(ink(empty.copy(0, 0, Width, 17)), QRect(5, 8, 200, 8));
        for (auto row = cases.begin(); row != cases.end(); ++row) {
            const QImage image = paint(3, QLatin1String(row.key()));
            int filled = 0;
            for (int x = 0; x < Width; ++x)
                filled += image.pixel(x, 12) != empty.pixel(x, 12) ? 1 : 0;
            QCOMPARE(filled, row.value());
        }
    }

    void stateIsAPictureAndFailureAWord()
    {
        QCOMPARE(ink(paint(0, QString())), QRect(97, 12, 16, 16));
        const QRect word = ink(paint(3, "1 4 12 4"_q));
        QVERIFY(word.width() > 20 && word.width() < 60);
        QVERIFY(qAbs(word.center().x() - Width / 2) < 3 && qAbs(word.center().y() - 20) < 4);
        // On a selected row it is as far from the fill as it has to be.
        const QImage selected = paint(3, "1 4 12 4"_q, QStyle::State_Selected);
        int lightest = 0;
        for (int x = word.left(); x <= word.right(); ++x) {
            for (int y = word.top(); y <= word.bottom(); ++y)
                lightest = qMax(lightest, qGray(selected.pixel(x, y)));
        }
        QVERIFY2(lightest > 200, qPrintable(QString::number(lightest)));
    }

    void titleStaysLeftAndEndsInDots()
    {
        const QString tooLong = "MMM "_q.repeated(20);
        const QMap<QString, bool> cases{
            {"MMM"_q, false}, {"שלום עולם!"_q, false}, {" M\n "_q + tooLong, true}};
        for (auto row = cases.begin(); row != cases.end(); ++row) {
            const QImage image = paint(1, row.key());
            const QRect text = ink(image);
            QVERIFY(text.left() < 12 && text.right() < Width - 1);
            QVERIFY(qAbs(text.center().y() - Height / 2) < 5);
            QCOMPARE(text.right() > Width - 25, row.value());
            // Dots stand on the base line, letters reach above it.
            QCOMPARE(ink(image.copy(text.right() - 2, 0, 3, Height)).height() < 4, row.value());
        }
    }

    void sameTextIsOfferedOnceWhereTheFocusIsNeeded()
    {
        m_sandbox.loadOptions();
        const AppInfo info;
        const QString first = info.supportedHosts.first() + "/1"_q;
        const QString second = info.supportedHosts.first() + "/2"_q;
        QClipboard *clipboard = QGuiApplication::clipboard();
        for (bool needsFocus : {true, false}) {
            QStringList offered;
            ClipboardWatch watch(*clipboard,
                                 {info, *Options::instance(),
                                  [] { return ClipboardWatch::Moment::Offer; },
                                  [&offered](const QString &address) { offered += address; }},
                                 needsFocus);
            for (const QString &text : {first, QString(), first, second}) {
                clipboard->setText(text);
                watch.changed();
                watch.activated();
            }
            QCOMPARE(offered, needsFocus ? QStringList({first, second})
                                         : QStringList({first, first, second}));
        }
    }

    void windowGoesWhereItCanBeFoundAgain()
    {
        m_sandbox.loadOptions();
        QWidget window;
        window.show();
        ExitControl control(window, *Options::instance());
        QVERIFY(!control.sendToBackground() && !window.isVisible()); // the tray is not known yet
        QVERIFY(!control.trayChanged(false) && window.isMinimized() && window.isVisible());
        QVERIFY(control.trayChanged(true) && !window.isVisible());
        QVERIFY(!control.trayChanged(false) && window.isMinimized() && window.isVisible());
        QVERIFY(!control.trayChanged(true) && !window.isVisible()); // the balloon is for once
        control.comeForward();
        QVERIFY(!control.trayChanged(true) && window.isVisible());
    }

    void linkIsFollowedWhereItIsReleased()
    {
        LinkLable link(nullptr, "text"_q);
        QSignalSpy followed(&link, &LinkLable::clicked);
        for (const QPoint &end : {QPoint(-5, 5), QPoint(5, 5)}) {
            QTest::mousePress(&link, Qt::LeftButton, {}, QPoint(5, 5));
            QTest::mouseRelease(&link, Qt::LeftButton, {}, end);
        }
        QCOMPARE(followed.count(), 1);
        const QImage plain = link.grab().toImage();
        link.show();
        QVERIFY(QTest::qWaitForWindowActive(&link));
        link.setAttribute(Qt::WA_KeyboardFocusChange); // as Tab does
        QVERIFY(link.grab().toImage() != plain);       // where the keys go is seen
        QTest::keyClick(&link, Qt::Key_Space);
        QCOMPARE(followed.count(), 2);
    }

    void folderIsChosen()
    {
        const struct
        {
            QString chosen;
            const char *answer;
            QString question;
            bool taken;
        } cases[] = {
            {m_sandbox.path("new/deep"_q), "Yes",
             "Directory \"%1\" does not exist. Would you like to create it now?"_q, true},
            {"/proc"_q, "OK",
             "Cannot create files in the specified folder \"%1\". Please check if you have write "
             "permission to the folder."_q,
             false},
            {m_sandbox.path("new"_q), "", QString(), true},
        };
        m_sandbox.loadOptions();
        for (const auto &row : cases) {
            const QString before = Options::instance()->outputFolder;
            DlgSettings dialog(*Options::instance(), nullptr,
                               [&row](QWidget *, const QString &, QString *result) {
                                   *result = row.chosen;
                                   return true;
                               });
            const ModalDriver person("QMessageBox", [&row](QWidget *box) {
                QCOMPARE(static_cast<QMessageBox *>(box)->text(), row.question.arg(row.chosen));
                ModalDriver::press(QString::fromLatin1(row.answer))(box);
            });
            dialog.onSelectFolder();
            QCOMPARE(person.seen(), row.question.isEmpty() ? 0 : 1);
            QCOMPARE(Options::instance()->outputFolder, before);
            dialog.accept();
            QCOMPARE(Options::instance()->outputFolder, row.taken ? row.chosen + "/"_q : before);
        }
    }

    void shutDownThatWillNotHappenIsSaidAtTheTick()
    {
        m_sandbox.loadOptions();
        const ModalDriver person("QMessageBox");
        int said = 0;
        for (const auto answer : {platform::ShutDown::Possible, platform::ShutDown::Impossible}) {
            for (const bool late : {false, true}) {
                std::function<void(platform::ShutDown)> take;
                DlgSettings dialog(*Options::instance(), nullptr, browseFolder,
                                   [&take](QObject *, const auto &handler) { take = handler; });
                auto *box = dialog.findChild<QCheckBox *>("checkBoxShutdown"_q);
                if (late)
                    box->toggle();
                take(answer);
                if (!late)
                    box->toggle();
                QCoreApplication::processEvents();
                said += answer == platform::ShutDown::Possible ? 0 : 1;
                QCOMPARE(person.seen(), said);
            }
        }
    }

    void escLeavesTheSettings()
    {
        m_sandbox.loadOptions();
        DlgSettings dialog(*Options::instance());
        auto *tooLong = dialog.findChild<QCheckBox *>("checkBoxAuto"_q);
        auto *fitting = dialog.findChild<QCheckBox *>("checkBoxShutdown"_q);
        QVERIFY(tooLong->sizeHint().width() < dialog.width() - tooLong->x());
        QCOMPARE(fitting->font().pointSizeF(), 10.0); // as the form says
        tooLong->toggle();
        fitting->toggle();
        QTest::keyClick(&dialog, Qt::Key_Escape);
        QVERIFY(Options::instance()->autoOpenNew && !Options::instance()->shutDownWhenAllFinished);
        dialog.accept();
        QVERIFY(!Options::instance()->autoOpenNew && Options::instance()->shutDownWhenAllFinished);
        const DlgSettings again(*Options::instance());
        QVERIFY(!again.findChild<QCheckBox *>("checkBoxAuto"_q)->isChecked());
        QVERIFY(again.findChild<QCheckBox *>("checkBoxShutdown"_q)->isChecked());
    }
};

REELKEEPER_TEST_MAIN(WidgetsTest)
#include "tst_widgets.moc"
