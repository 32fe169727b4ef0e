#include "appinfo.h"
#include "cjslib.h"
#include "dlgabout.h"
#include "dlgdeletefinished.h"
#include "dlgexit.h"
#include "dlgnewdownload.h"
#include "dlgsettings.h"
#include "dlgshutdown.h"
#include "dlgupdate.h"
#include "downloadermanager.h"
#include "downloaderror.h"
#include "downloadtablewidget.h"
#include "finishedtablewidget.h"
#include "jobtrouble.h"
#include "literals.h"
#include "mainwindow.h"
#include "modaldriver.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "speedmeter.h"
#include "surroundings.h"
#include "testmain.h"
#include "troublewords.h"

#include <QAbstractButton>
#include <QHeaderView>
#include <QHelpEvent>
#include <QLabel>
#include <QMetaEnum>
#include <QNetworkReply>
#include <QProcess>
#include <QTabBar>
#include <QTextDocumentFragment>
#include <QToolTip>
#include <QTranslator>
#include <QXmlStreamReader>

static const QChar padding(0xf8);

// Every text 40 % longer, and which ones were asked for.
class LongerTexts final : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *text, const char *, int) const override
    {
        asked.insert(QByteArray(context) + ": " + text);
        QStringList lines = QString::fromUtf8(text).split(QLatin1Char('\n'));
        for (QString &line : lines)
            line += QString((line.size() * 2 + 4) / 5, padding);
        return lines.join(QLatin1Char('\n'));
    }
    mutable QSet<QByteArray> asked; // "context: text"
};

// Of a window: the texts that no translator was asked for, and those that have no room.
static QStringList faults(QWidget *window, const QStringList &names)
{
    QStringList faults;
    QWidgetList widgets = window->findChildren<QWidget *>();
    widgets += window;
    for (const QWidget *widget : qAsConst(widgets)) {
        QStringList texts{widget->toolTip(), widget->accessibleName()};
        const auto *label = qobject_cast<const QLabel *>(widget);
        const auto *button = qobject_cast<const QAbstractButton *>(widget);
        if (label || button) {
            texts += label ? label->text() : button->text();
            const QSize needed = label && label->wordWrap()
                                     ? QSize(0, label->heightForWidth(label->width()))
                                     : widget->fontMetrics().size(0, texts.last());
            // The main window's buttons are pictures; and a form whose size is fixed makes no text
            // smaller than can be read.
            if (!window->inherits("QMainWindow") && widget->isVisible() &&
                widget->fontInfo().pointSizeF() > 6 &&
                (needed.width() > widget->width() || needed.height() > widget->height() + 6))
                faults += "no room: "_q + texts.last();
        }
        if (const auto *tabs = qobject_cast<const QTabBar *>(widget))
            texts += tabs->tabText(0);
        if (const auto *header = qobject_cast<const QHeaderView *>(widget))
            texts += header->isVisible() ? header->model()->headerData(0, Qt::Horizontal).toString()
                                         : QString();
        if (widget->isWindow() && !widget->windowTitle().isEmpty())
            texts += widget->windowTitle();
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
                QVERIFY2((codes.value(i) == 0) != (wordsOfCode(codes.value(i)) != nullptr),
                         codes.key(i));
        }
        QCOMPARE(troubleWords({JobTrouble::SoundRefused, "Specified rate 5%1"_q}),
                 "FFmpeg refused the sound: Specified rate 5%1"_q);
    }

    void speedIsThatOfTheLastSeconds()
    {
        constexpr quint32 start = 0xfffff000; // the clock wraps after some seconds
        SpeedMeter meter;
        qint64 bytes = 0;
        for (quint32 second = 0; second <= 20; ++second) {
            bytes += second < 10 ? 100 : 7000;
            meter.note(start + second * 1000, bytes);
            if (second == 0 || second == 9 || second == 20)
                QCOMPARE(meter.speed(start + second * 1000, bytes), second == 0   ? -1LL
                                                                    : second == 9 ? 100LL
                                                                                  : 7000LL);
        }
        QCOMPARE(meter.speed(start + 30000, bytes), 0LL); // nothing comes any more
        meter.note(start + 30000, 10);                    // from the beginning
        QCOMPARE(meter.speed(start + 32000, 2010), 1000LL);
    }

    void tipTellsWhatIsNotToBeSeen()
    {
        const QString title = "a title longer than its column"_q;
        m_sandbox.loadOptions();
        DownloaderManager manager(testSurroundings());
        QWidget window;
        auto *downloads = new DownloadTableWidget(&window);
        auto *finished = new FinishedTableWidget(&window);
        downloads->init(manager, *Options::instance(), Qt::darkBlue);
        finished->init(manager, *Options::instance(), Qt::darkBlue);
        downloads->resize(900, 300);
        window.resize(900, 300);
        downloads->setColumnWidth(1, 600);
        finished->setColumnWidth(0, 60);
        window.show();
        for (const auto state : {JobState::Errored, JobState::Finished}) {
            auto added = manager.newJob();
            added->record.id = 1 + int(manager.jobs().size());
            added->record.title = title;
            added->record.output_name = m_sandbox.path("title.mp4"_q);
            added->record.video_state = state;
            manager.addLoadedJob(std::move(added));
        }
        JobLists(manager, *downloads, *finished).fillViews();
        QCOMPARE(tip(finished, 0), title + "\n"_q + manager.findJob(2)->record.output_name);

        HttpJob *job = manager.findJob(1);
        QCOMPARE(tip(downloads, 0), "Failed"_q);
        QCOMPARE(tip(downloads, 1), QString()); // there is nothing to add
        manager.startJob(1);
        job->onDownloadError(NoCookies);
        QVERIFY(tip(downloads, 1)
                    .startsWith("The video's page does not answer as it should; next try in "_q));
        job->record.download_bytes = 3000;
        QVERIFY(tip(downloads, 3).endsWith(" s.\n2.9 KB received"_q));
        const QTableWidgetItem *progress = downloads->item(0, 3);
        QVERIFY(progress->data(Qt::AccessibleTextRole).toString().endsWith(" received"_q));
        job->record.download_bytes = 6000; // whoever looks on sees it come
        QTRY_VERIFY(shownTip().endsWith("5.9 KB received"_q));
        job->noteTrouble({DownloadError::FileWriteError, QString()}); // follows from the first
        job->onError();
        QCOMPARE(tip(downloads, 0), "Failed: The video's page does not answer as it should."_q);
        downloads->setColumnWidth(1, 60);
        QCOMPARE(tip(downloads, 1).section(QLatin1Char('\n'), 0, 0), title);
    }

    void everyTextIsTranslatedAndHasRoom()
    {
        qputenv("REELKEEPER_UPDATE_HOST", "127.0.0.1:9");
        const QString profiles = QCoreApplication::applicationDirPath() + "/Profiles.xml"_q;
        QVERIFY(QFile::exists(profiles) || QFile::copy(QStringLiteral(PROFILES), profiles));
        LongerTexts longer;
        QCoreApplication::installTranslator(&longer);
        const AppInfo info;
        const QStringList names{info.title,   info.build,        info.versionText,
                                info.webSite, info.supportEmail, "Quarnitek"_q};
        QStringList found;
        {
            MainWindow window(true);
            found += faults(&window, names);
            const NewDownloadSurroundings surroundings{
                *Options::instance(), *OutputProfileManager::instance(), *CJSLib::instance(), info};
            Options &options = *Options::instance();
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
        QFile texts(file);
        QVERIFY(texts.open(QIODevice::ReadOnly));
        QString context;
        for (QXmlStreamReader reader(&texts); !reader.atEnd(); reader.readNext()) {
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
