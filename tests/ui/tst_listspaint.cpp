#include "finisheditem.h"
#include "jobtexts.h"
#include "literals.h"
#include "testmain.h"

#include <QPainter>
#include <QStandardItemModel>

static constexpr int Width = 210; // the bar in it is 200 wide, from 5 to 204
static constexpr int Height = 40;
static const QColor White(Qt::white);

static QImage paint(int column, const QString &text, bool selected = false)
{
    QStandardItemModel model(1, 4);
    model.setData(model.index(0, column), text);
    QImage image(Width, Height, QImage::Format_RGB32);
    image.fill(Qt::white);
    QStyleOptionViewItem option;
    option.rect = image.rect();
    option.state = QStyle::State_Enabled;
    option.state.setFlag(QStyle::State_Selected, selected);
    option.showDecorationSelected = true;
    option.textElideMode = Qt::ElideNone;
    option.features = QStyleOptionViewItem::WrapText;
    option.palette.setColor(QPalette::HighlightedText, Qt::white);
    QPainter painter(&image);
    DownloadItem(Qt::darkBlue, nullptr).paint(&painter, option, model.index(0, column));
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

// What the lists show of a job: the texts, and what the delegates make of them.
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
        static const struct
        {
            const char *data;
            int filled; // pixels
        } cases[] = {{"1048576 4194304 12 0", 50},
                     {"999 1000 0 2", 199},
                     {"15.5 10 0 0", 200},
                     {"-5 10 -1 0", 0}};
        const QImage empty = paint(3, "0 10 -1 1"_q);
        QCOMPARE(ink(empty.copy(0, 0, Width, 17)), QRect(5, 8, 200, 8));
        for (const auto &row : cases) {
            const QImage image = paint(3, QLatin1String(row.data));
            int filled = 0;
            for (int x = 0; x < Width; ++x)
                filled += image.pixel(x, 12) != empty.pixel(x, 12) ? 1 : 0;
            QCOMPARE(filled, row.filled);
        }
    }

    void captionStandsOutFromTheGround()
    {
        for (bool selected : {false, true}) {
            const QColor ground = selected ? QColor(Qt::darkBlue) : White;
            const QImage lowerHalf = paint(3, "1 4 12 0"_q, selected).copy(0, 19, Width, 21);
            const QRect caption = ink(lowerHalf, ground);
            QVERIFY(caption.width() > 50 && caption.left() >= 5);
            int contrast = 0;
            for (int x = 0; x < Width; ++x)
                contrast = qMax(contrast, qAbs(qGray(lowerHalf.pixel(x, 8)) - qGray(ground.rgb())));
            QVERIFY(contrast > 150);
        }
    }

    void failureReplacesTheBar()
    {
        const QRect word = ink(paint(3, "1 4 12 4"_q));
        QVERIFY(word.width() > 20 && word.width() < 60);
        QVERIFY(qAbs(word.center().x() - Width / 2) < 3 && qAbs(word.center().y() - 20) < 4);
    }

    void titleStaysLeftAndEndsInDots()
    {
        const QString tooLong = "MMM "_q.repeated(20);
        const struct
        {
            QString title;
            bool elided;
        } cases[] = {{"MMM"_q, false},
                     {"שלום עולם!"_q, false},
                     {tooLong, true},
                     {" M\n "_q + tooLong, true}};
        for (const auto &row : cases) {
            const QImage image = paint(1, row.title);
            const QRect text = ink(image);
            QVERIFY(text.left() < 12 && text.right() < Width - 1);
            QVERIFY(qAbs(text.center().y() - Height / 2) < 5);
            QCOMPARE(text.right() > Width - 25, row.elided);
            // Dots stand on the base line, letters reach above it.
            QCOMPARE(ink(image.copy(text.right() - 2, 0, 3, Height)).height() < 4, row.elided);
        }
    }
};

REELKEEPER_TEST_MAIN(TestListsPaint)
#include "tst_listspaint.moc"
