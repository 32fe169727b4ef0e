#include "appinfo.h"
#include "finisheditem.h"
#include "jobtexts.h"
#include "testmain.h"

#include <QPainter>
#include <QStandardItemModel>

#include <limits>

static constexpr int Width = 210; // the bar in it is 200 wide, from 5 to 204
static constexpr int Height = 40;
static const QColor White(Qt::white);

// Paints one cell; content is a text or an icon.
static QImage paint(int column, const QVariant &content, bool selected = false, int scale = 1,
                    const QAbstractItemDelegate &delegate = DownloadItem())
{
    QStandardItemModel model(1, 4);
    const QModelIndex index = model.index(0, column);
    model.setData(index, content,
                  content.type() == QVariant::Icon ? Qt::DecorationRole : Qt::DisplayRole);
    QImage image(QSize(Width, Height) * scale, QImage::Format_RGB32);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::white);
    QStyleOptionViewItem option;
    option.rect = QRect(0, 0, Width, Height);
    option.state = QStyle::State_Enabled;
    option.state.setFlag(QStyle::State_Selected, selected);
    option.showDecorationSelected = true;
    option.decorationSize = QSize(16, 16);
    option.textElideMode = Qt::ElideNone;
    option.features = QStyleOptionViewItem::WrapText;
    option.palette.setColor(QPalette::HighlightedText, Qt::white);
    QPainter painter(&image);
    delegate.paint(&painter, option, index);
    return image;
}

// The smallest rectangle around everything that is not the ground.
static QRect ink(const QImage &image, const QColor &ground = White)
{
    QRect result;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixel(x, y) != ground.rgb())
                result |= QRect(x, y, 1, 1);
        }
    }
    return result;
}

// What the lists show of a job: the texts, and what the delegates make of them pixel by pixel.
class TestListsPaint final : public QObject
{
    Q_OBJECT

public:
    explicit TestListsPaint(Sandbox &) {}

private slots:
    void informationNamesTheFormatOfAConversion()
    {
        JobData record;
        record.duration = 3725;
        record.video_dimension = QStringLiteral("640x360");
        record.output_demision = QStringLiteral("320x240");
        record.outputFormatName = QStringLiteral("100%1 MP4");
        QCOMPARE(basicInformation(record), QStringLiteral(" 01:02:05 640x360"));
        record.output_format = 3;
        QCOMPARE(basicInformation(record), QStringLiteral(" 01:02:05 640x360\n 100%1 MP4"));
        QCOMPARE(finishedInformation(record, 1536),
                 QStringLiteral("1.5 KB    01:02:05    320x240    100%1 MP4"));
    }

    void progressTellsDoneTotalTimeAndState_data()
    {
        QTest::addColumn<int>("format");
        QTest::addColumn<double>("done");
        QTest::addColumn<double>("total");
        QTest::addColumn<int>("elapsed");
        QTest::addColumn<int>("state");
        QTest::addColumn<QString>("data");
        const int weeks = std::numeric_limits<int>::max();
        QTest::newRow("quarter") << 0 << 1048576. << 4194304. << 4000 << 0
                                 << "1048576 4194304 12 0";
        QTest::newRow("unknown total") << 0 << 77. << -1. << 4000 << 0 << "77";
        QTest::newRow("nothing yet") << 0 << 0. << 10. << 4000 << 1 << "0 10 -1 1";
        QTest::newRow("rounded down twice") << 0 << 7. << 17. << 2000 << 4 << "7 17 2 4";
        QTest::newRow("a terabyte for weeks") << 0 << 549755813888. << 1099511627776. << weeks << 0
                                              << "549755813888 1099511627776 2147483 0";
        QTest::newRow("half converted") << 2 << 30.5 << 61. << 10000 << 0 << "30.5 61 10 0";
        QTest::newRow("six digits") << 2 << 1234.5678 << 5000. << 10000 << 0 << "1234.57 5000 30 0";
        QTest::newRow("barely begun") << 2 << 0.05 << 61. << 10000 << 0 << "0.05 61 -1 0";
        QTest::newRow("unknown length") << 2 << 12.25 << 0. << 10000 << 0 << "12.25";
    }
    void progressTellsDoneTotalTimeAndState()
    {
        QFETCH(int, format);
        QFETCH(double, done);
        QFETCH(double, total);
        QFETCH(int, elapsed);
        QFETCH(int, state);
        JobData record;
        record.output_format = format;
        record.video_state = JobState(state);
        record.download_bytes = format ? 1 : qint64(done);
        record.total_bytes = format ? 2 : qint64(total);
        record.convertedSeconds = format ? float(done) : 1;
        record.duration = format ? int(total) : 2;
        QTEST(progressData(record, elapsed), "data");
    }

    void captionTellsTheTimeLeft_data()
    {
        QTest::addColumn<QString>("data");
        QTest::addColumn<QString>("caption"); // null: nothing is drawn
        QTest::newRow("seconds") << "1048576 4194304 12 0"
                                 << "Time left:00:12";
        QTest::newRow("fraction") << "1 4 3725.9 0"
                                  << "Time left:01:02:05";
        QTest::newRow("just under a day") << "1 4 86399 0"
                                          << "Time left:23:59:59";
        QTest::newRow("a day") << "1 4 86400 0"
                               << "Time left:Unknown";
        QTest::newRow("not known") << "1 4 -1 0"
                                   << "Time left:Unknown";
        QTest::newRow("one number") << "77" << QString();
        QTest::newRow("five parts") << "1 4 12 0 9" << QString();
        QTest::newRow("no maximum") << "1 0.009 12 4" << QString();
        QTest::newRow("not a number") << "1 nan 12 0" << QString();
    }
    void captionTellsTheTimeLeft()
    {
        QFETCH(QString, data);
        QFETCH(QString, caption);
        const std::optional<ProgressReading> reading = readProgress(data);
        QCOMPARE(reading ? reading->caption : QString(), caption);
        QCOMPARE(ink(paint(3, data)).isNull(), caption.isNull());
    }

    void barIsFilledToTheShareDone_data()
    {
        QTest::addColumn<QString>("data");
        QTest::addColumn<int>("filled");
        QTest::newRow("quarter") << "1048576 4194304 12 0" << 50;
        QTest::newRow("nothing") << "0 4194304 -1 1" << 0;
        QTest::newRow("rounded down") << "999 1000 0 2" << 199;
        QTest::newRow("more than all") << "15.5 10 0 0" << 200;
        QTest::newRow("negative") << "-5 10 -1 0" << 0;
    }
    void barIsFilledToTheShareDone()
    {
        QFETCH(QString, data);
        QFETCH(int, filled);
        const QImage image = paint(3, data);
        const QColor frame(220, 222, 226);
        // First and last row of both bands: ground, then fill.
        const QMap<int, QPair<QColor, QColor>> rows{{9, {{249, 249, 250}, {150, 199, 242}}},
                                                    {11, {{244, 244, 246}, {138, 191, 239}}},
                                                    {12, {{224, 225, 227}, {115, 175, 219}}},
                                                    {14, {{244, 245, 246}, {152, 217, 255}}}};
        for (auto row = rows.begin(); row != rows.end(); ++row) {
            for (int x = 4; x <= 205; ++x) {
                const QColor ground = x == 5 || x == 204 ? frame : row->first;
                const QColor inside = x < 5 + filled ? row->second : ground;
                QCOMPARE(image.pixelColor(x, row.key()), x < 5 || x > 204 ? White : inside);
            }
        }
        for (int x : {5, 100, 204}) {
            QCOMPARE(image.pixelColor(x, 7), White);
            QCOMPARE(image.pixelColor(x, 8), frame);
            QCOMPARE(image.pixelColor(x, 15), frame);
            QCOMPARE(image.pixelColor(x, 16), White);
        }
        const QImage fine = paint(3, data, false, 2);
        QCOMPARE(fine.pixelColor(300, 15), White);
        QCOMPARE(fine.pixelColor(300, 16), frame);
        QCOMPARE(fine.pixelColor(300, 17), frame);
        QVERIFY(fine.pixelColor(300, 18) != frame);
    }

    void captionStandsOutFromTheGround()
    {
        for (bool selected : {false, true}) {
            const QColor ground = selected ? AppInfo::instance()->themeColor : White;
            const QImage lowerHalf =
                paint(3, QStringLiteral("1 4 12 0"), selected).copy(0, 19, Width, Height - 19);
            const QRect caption = ink(lowerHalf, ground);
            QVERIFY(caption.width() > 50 && caption.left() >= 5 && caption.top() < 8);
            const QColor pen = selected ? White : QColor(Qt::black);
            const QImage letters = lowerHalf.copy(caption);
            int solid = 0;
            for (int x = 0; x < letters.width() * letters.height(); ++x) {
                const QColor dot = letters.pixelColor(x % letters.width(), x / letters.width());
                solid += qAbs(dot.lightness() - pen.lightness()) < 40 ? 1 : 0;
            }
            QVERIFY(solid > 10);
        }
    }

    void failureReplacesTheBar()
    {
        const QImage image = paint(3, QStringLiteral("1 4 12 4"));
        const QRect word = ink(image);
        QVERIFY(word.width() > 20 && word.width() < 60);
        QVERIFY(qAbs(word.center().x() - Width / 2) < 3);
        QVERIFY(qAbs(word.center().y() - Height / 2) < 4);
        for (int x = word.left(); x <= word.right(); ++x)
            QCOMPARE(image.pixelColor(x, Height / 2).red(), 255); // any mixture of red and white
    }

    void titleStaysLeftAndEndsInDots_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<bool>("elided");
        const QString tooLong = QStringLiteral("MMM ").repeated(20);
        QTest::newRow("short") << "MMM" << false;
        QTest::newRow("right to left") << QString::fromUtf8("שלום עולם!") << false;
        QTest::newRow("long") << tooLong << true;
        QTest::newRow("second line long") << QStringLiteral(" M\n ") + tooLong << true;
    }
    void titleStaysLeftAndEndsInDots()
    {
        QFETCH(QString, title);
        QFETCH(bool, elided);
        for (bool selected : {false, true}) {
            const QColor ground = selected ? AppInfo::instance()->themeColor : White;
            const QImage image = paint(1, title, selected);
            const QRect text = ink(image, ground);
            QVERIFY(text.left() < 12 && text.right() < Width - 1);
            QVERIFY(qAbs(text.center().y() - Height / 2) < 5);
            QCOMPARE(text.right() > Width - 25, elided);
            // Dots stand on the base line, letters reach above it.
            const QImage end = image.copy(text.right() - 2, 0, 3, Height);
            QCOMPARE(ink(end, ground).height() < 4, elided);
        }
    }

    void iconIsCentredInTheStateColumnOnly()
    {
        QPixmap pixmap(16, 16);
        pixmap.fill(Qt::red);
        QCOMPARE(ink(paint(0, QIcon(pixmap))), QRect(97, 12, 16, 16));
        QVERIFY(ink(paint(0, QIcon(pixmap), false, 1, FinishedItem())).isNull());
    }
};

REELKEEPER_TEST_MAIN(TestListsPaint)
#include "tst_listspaint.moc"
