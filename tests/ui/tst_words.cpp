#include "appinfo.h"
#include "dlgabout.h"
#include "dlgdeletefinished.h"
#include "dlgexit.h"
#include "dlgnewdownload.h"
#include "dlgsettings.h"
#include "dlgshutdown.h"
#include "dlgupdate.h"
#include "downloaderror.h"
#include "downloadtablewidget.h"
#include "finishedtablewidget.h"
#include "jobtexts.h"
#include "literals.h"
#include "mainwindow.h"
#include "speedmeter.h"
#include "surroundings.h"
#include "testmain.h"
#include "troublewords.h"

#include <QNetworkReply>
#include <QtWidgets>

static const QChar padding(0xf8);

// Every text 40 % longer, and which ones were asked for.
class LongerTexts final : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *text, const char *, int) const override
    {
        asked.insert(QByteArray(context) + ": " + text);
        const QString plain = QString::fromUtf8(text);
        const int lines = 1 + plain.count(QLatin1Char('\n'));
        const QString more((plain.size() * 2 + 4) / 5 / lines + 1, padding);
        return QString(plain).replace(QLatin1Char('\n'), more + "\n"_q) + more;
    }
    mutable QSet<QByteArray> asked; // "context: text"
};

// Of a window: the texts that no translator was asked for, and those that have no room.
static QStringList faults(QWidget *window, const QStringList &names)
{
    QStringList faults;
    for (const QWidget *widget : window->findChildren<QWidget *>()) {
        QStringList texts{widget->toolTip(), widget->accessibleName()};
        const auto *label = qobject_cast<const QLabel *>(widget);
        const auto *button = qobject_cast<const QAbstractButton *>(widget);
        if (label || button) {
            texts += label ? label->text() : button->text();
            const QSize needed = widget->fontMetrics().size(0, texts.last());
            // The main window's buttons are pictures; and a form whose size is fixed makes no text
            // smaller than can be read.
            if (!window->inherits("QMainWindow") && widget->isVisible() &&
                widget->fontInfo().pointSizeF() > 6 &&
                (needed.width() > widget->width() || needed.height() > widget->height() + 6))
                faults += "no room: "_q + texts.last();
        }
        if (const auto *tabs = qobject_cast<const QTabBar *>(widget))
            texts += tabs->tabText(0);
        for (const QString &text : qAsConst(texts)) {
            if (!text.isEmpty() && !text.contains(padding) && !names.contains(text))
                faults += "not translated: "_q + text;
        }
    }
    return faults;
}

// What a person is told beside what is painted.
class WordsTest final : public SandboxTest
{
    Q_OBJECT

public:
    using SandboxTest::SandboxTest;

private:
    static QString shownTip()
    {
        return QTextDocumentFragment::fromHtml(QToolTip::text()).toPlainText();
    }
    // What is told of a cell of the first row to who points at it.
    static QString tip(QTableWidget *table, int column)
    {
        QCursor::setPos(-1, -1);
        QToolTip::hideText();
        while (QToolTip::isVisible())
            QTest::qWait(10);
        const QPoint place = table->visualItemRect(table->item(0, column)).center();
        QCursor::setPos(table->viewport()->mapToGlobal(place));
        QHelpEvent event(QEvent::ToolTip, place, table->viewport()->mapToGlobal(place));
        QApplication::sendEvent(table->viewport(), &event);
        return shownTip();
    }

private slots:
    void everyErrorHasWords()
    {
        for (const QMetaEnum &codes :
             {QMetaEnum::fromType<QNetworkReply::NetworkError>(),
              QMetaEnum::fromType<DownloadError>(), QMetaEnum::fromType<JobTrouble::Reason>()}) {
            for (int i = 0; i < codes.keyCount(); ++i)
                QVERIFY2(!codes.value(i) == !wordsOfCode(codes.value(i)), codes.key(i));
        }
    }

    void speedIsThatOfTheLastSeconds()
    {
        constexpr quint32 start = 0xfffff000; // the clock wraps after some seconds
        SpeedMeter meter;
        qint64 bytes = 0;
        QVector<qint64> speeds;
        for (quint32 second = 1; second <= 20; ++second) {
            bytes += second <= 10 ? 100 : 7000;
            meter.note(start + second * 1000, bytes);
            speeds += meter.speed(start + second * 1000, bytes);
        }
        QCOMPARE((QVector<qint64>{speeds[0], speeds[9], speeds[19]}),
                 (QVector<qint64>{-1, 100, 7000}));
        QCOMPARE(meter.speed(start + 30000, bytes), 0LL); // nothing comes any more
        meter.note(start + 31000, bytes + 900);           // after the wait for a retry
        QCOMPARE(meter.speed(start + 32000, bytes + 1800), 900LL);
        meter.note(start + 30000, 10); // from the beginning
        QCOMPARE(meter.speed(start + 32000, 2010), 1000LL);
    }

    void tipTellsWhatIsNotToBeSeen()
    {
        const QString title = "a title longer than its column"_q;
        m_sandbox.loadOptions();
        DownloaderManager manager(testSurroundings());
        DownloadTableWidget downloads;
        FinishedTableWidget finished;
        downloads.init(manager, *Options::instance(), Qt::darkBlue);
        finished.init(manager, *Options::instance(), Qt::darkBlue);
        downloads.resize(900, 300);
        downloads.setColumnWidth(1, 600);
        finished.setColumnWidth(0, 60);
        downloads.show();
        finished.show();
        for (const auto state : {JobState::Errored, JobState::Finished}) {
            auto added = manager.newJob();
            added->record.id = 1 + int(manager.jobs().size());
            added->record.title = title;
            added->record.output_name = m_sandbox.path("title.mp4"_q);
            added->record.video_state = state;
            manager.addLoadedJob(std::move(added));
        }
        JobLists(manager, downloads, finished).fillViews();
        QCOMPARE(tip(&finished, 0), title + "\n"_q + manager.findJob(2)->record.output_name);

        HttpJob *job = manager.findJob(1);
        QCOMPARE(tip(&downloads, 0), "Failed"_q);
        QCOMPARE(tip(&downloads, 1), QString()); // there is nothing to add
        manager.startJob(1);
        job->onDownloadError(NoCookies);
        QVERIFY(tip(&downloads, 1)
                    .startsWith("The video's page does not answer as it should; next try in "_q));
        job->record.download_bytes = 3000;
        QVERIFY(tip(&downloads, 3).endsWith(" s.\n2.9 KB received"_q));
        const QTableWidgetItem *progress = downloads.item(0, 3);
        QVERIFY(progress->data(Qt::AccessibleTextRole).toString().endsWith(" received"_q));
        job->record.download_bytes = 6000; // whoever looks on sees it come
        QTRY_VERIFY(shownTip().endsWith("5.9 KB received"_q));
        QVERIFY(!QToolTip::text().contains(QLatin1Char(' '))); // short lines are not broken
        const auto converting = manager.newJob();
        converting->record.output_format = 1;
        converting->record.download_bytes = 6000;
        converting->record.total_bytes = 6000;
        QCOMPARE(progressText(*converting, QString(), -1),
                 "Converting\n5.9 KB of 5.9 KB received\n00:00 converted"_q);
        job->onDownloadRetry();
        job->noteTrouble({JobTrouble::SoundRefused, "Rate <5%1>"_q});
        job->onDownloadError(NoContentType); // that follows from the first
        QCOMPARE(tip(&downloads, 0), "Failed: FFmpeg refused the sound: Rate <5%1>."_q);
        downloads.setColumnWidth(1, 60);
        QCOMPARE(tip(&downloads, 1).section(QLatin1Char('\n'), 0, 0), title);
        job->record.video_state = JobState::Start;
        job->record.download_bytes = 10;
        job->record.changeFlags.set(ProgressChanged);
        QVERIFY(downloads.updateJob(job));
        tip(&downloads, 3);
        QTRY_VERIFY(shownTip().endsWith("\n0 B per second"_q));
    }

    void everyTextIsTranslatedAndHasRoom()
    {
        qputenv("REELKEEPER_UPDATE_HOST", "127.0.0.1:9");
        LongerTexts longer;
        QCoreApplication::installTranslator(&longer);
        const AppInfo info;
        const QStringList names{info.title, info.build, info.versionText, info.webSite,
                                info.supportEmail};
        QStringList found;
        {
            MainWindow window(true);
            found += faults(&window, names);
            Options &options = *Options::instance();
            const NewDownloadSurroundings surroundings{options, *OutputProfileManager::instance(),
                                                       *CJSLib::instance(), info};
            const std::unique_ptr<QDialog> dialogs[] = {
                std::make_unique<DlgAbout>(info),
                std::make_unique<DlgDeleteFinished>(options, nullptr),
                std::make_unique<DlgExit>(options),
                std::make_unique<DlgNewDownload>(QString(), surroundings),
                std::make_unique<DlgSettings>(options),
                std::make_unique<DlgShutDown>(nullptr),
                std::make_unique<QDlgUpdate>(options, QString(), QString()),
            };
            for (const auto &dialog : dialogs) {
                dialog->show();
                found += faults(dialog.get(), names);
            }
            QStringList about;
            for (const QLabel *label : dialogs[0]->findChildren<QLabel *>())
                about += label->text();
            for (const QString &name : names.mid(1, 4))
                QVERIFY2(about.contains(name), qPrintable(name));
        }
        QCoreApplication::removeTranslator(&longer);
        QVERIFY2(found.isEmpty(), qPrintable(found.join(QLatin1Char('\n'))));

        // And the translators' tool finds them all.
        QProcess tool;
        const QString file = m_sandbox.path("texts.ts"_q);
        QStringList arguments{"-silent"_q, "-extensions"_q, "cpp,h,ui"_q};
        for (const char *folder : {"app", "core", "analysis", "conversion", "engine", "ui"})
            arguments += QStringLiteral(SOURCES "/") + QString::fromLatin1(folder);
        tool.start(QStringLiteral(LUPDATE), arguments << "-ts"_q << file);
        QVERIFY(tool.waitForFinished());
        QCOMPARE(tool.readAllStandardError() + tool.readAllStandardOutput(), QByteArray());
        QString context;
        for (QXmlStreamReader reader(readFile(file)); !reader.atEnd(); reader.readNext()) {
            if (reader.isStartElement() && reader.name() == "name"_q)
                context = reader.readElementText();
            else if (reader.isStartElement() && reader.name() == "source"_q)
                longer.asked.remove((context + ": "_q + reader.readElementText()).toUtf8());
        }
        for (const QByteArray &text : qAsConst(longer.asked))
            QVERIFY2(text.startsWith('Q') && !text.startsWith("QDlgUpdate"), text.constData());
    }
};

REELKEEPER_TEST_MAIN(WordsTest)
#include "tst_words.moc"
