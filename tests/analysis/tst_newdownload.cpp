#include "appinfo.h"
#include "cjslib.h"
#include "dlgnewdownload.h"
#include "httpserver.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "testmain.h"

#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QTimer>

namespace {
const QByteArray profiles =
    "<p><video_quality><q value='1x1' display='Low'/><q value='2x2' display='High'/>"
    "<q value='3x3' display='Best'/></video_quality><save_as>"
    "<g des='g'><i id='0' display='As it is' value='' ext='' size='0x0' fixed_size='0'/></g>"
    "<g des='h'><i id='4' display='Small' value='' ext='m' size='0x0' fixed_size='0'/>"
    "<i id='7' display='Phone' value='' ext='m' size='0x0' fixed_size='0'/></g></save_as></p>";

// The parts of the dialog as a person finds them.
struct Form
{
    explicit Form(const QDialog &dialog)
        : address(dialog.findChild<QLineEdit *>())
        , message(dialog.findChild<QLabel *>(QStringLiteral("label_4")))
        , quality(dialog.findChild<QComboBox *>(QStringLiteral("comboBox")))
        , format(dialog.findChild<QComboBox *>(QStringLiteral("comboBox_2")))
        , ok(dialog.findChild<QPushButton *>())
    {
    }
    QLineEdit *address;
    QLabel *message;
    QComboBox *quality, *format;
    QPushButton *ok;
};

QString entries(const QComboBox *box)
{
    QStringList texts;
    for (int i = 0; i < box->count(); ++i)
        texts.append(box->itemText(i));
    return texts.join(QLatin1Char(','));
}
} // namespace

class TestNewDownload : public QObject
{
    Q_OBJECT

public:
    explicit TestNewDownload(Sandbox &sandbox)
        : m_sandbox(sandbox)
    {
    }

private slots:
    void initTestCase()
    {
        m_sandbox.loadOptions();
        AppInfo::instance()->supportedHosts = QStringList{QStringLiteral("127.0.0.1")};
        QVERIFY(writeFile(m_sandbox.scriptFolder() + QStringLiteral("127.0.0.1"),
                          "strWebBuffer.toString()"));
        CJSLib::instance()->loadScripts();
        QVERIFY(writeFile(m_sandbox.path(QStringLiteral("Profiles.xml")), profiles));
        QVERIFY(m_server.listen());
        m_server.setResponse("/good", HttpResponse::text("2x2$9$$mp4|u"));
        m_server.setResponse("/none", HttpResponse::text("$Error:"));
    }
    void init()
    {
        m_server.clearRequests();
        choose(1, 4);
        QGuiApplication::clipboard()->clear();
    }
    void cleanupTestCase()
    {
        OutputProfileManager::destroyInstance();
        CJSLib::destroyInstance();
        AppInfo::destroyInstance();
    }

    void offersTheChoices()
    {
        static const struct
        {
            int quality;
            int format;
            const char *shown;
        } cases[] = {{1, 4, "High,Small"}, {2, 7, "Best,Phone"}, {3, 9, ","}};
        for (const auto &row : cases) {
            choose(row.quality, row.format);
            DlgNewDownload dialog{QString()};
            const Form form(dialog);
            QCOMPARE(entries(form.quality), QStringLiteral("Low,High,,Best"));
            QCOMPARE(entries(form.format), QStringLiteral("As it is,,Small,Phone"));
            QCOMPARE(form.quality->currentText() + QLatin1Char(',') + form.format->currentText(),
                     QString::fromLatin1(row.shown));
            // Choices that are not there start the analysis all the same and change nothing.
            form.address->setText(QStringLiteral("words"));
            form.ok->click();
            QVERIFY(!form.message->isHidden());
            QCOMPARE(Options::instance()->sourceQuality, row.quality);
            QCOMPARE(Options::instance()->outputFormat, row.format);
        }
    }

    void startsWithTheAddress()
    {
        DlgNewDownload dialog(m_server.url());
        const Form form(dialog);
        QCOMPARE(form.address->selectedText(), m_server.url());
        QCOMPARE(form.address->cursorPosition(), 0);
        QVERIFY(form.message->isHidden());
        QVERIFY(dialog.findChild<QLabel *>(QStringLiteral("label"))
                    ->text()
                    .contains(QStringLiteral("http://127.0.0.1/watch?v=")));
    }

    void showsAMessage()
    {
        const struct
        {
            QString typed;
            const char *message;
            int requests;
        } cases[] = {
            {QStringLiteral("  "), "Please input a YouTube URL.", 0},
            {QStringLiteral("words"), "The URL you input is invalid.", 0},
            {QStringLiteral("www.other.test/1"), "Page not support.", 0},
            {m_server.url(QStringLiteral("/404")), "Can not get page.", 5},
            {m_server.url(QStringLiteral("/none")), "Not contain video.", 1},
        };
        for (const auto &row : cases) {
            m_server.clearRequests();
            DlgNewDownload dialog{QString()};
            const Form form(dialog);
            dialog.show();
            QVERIFY(QTest::qWaitForWindowActive(&dialog));
            QTest::keyClicks(form.address, row.typed);
            QTest::keyClick(form.address, Qt::Key_Return);
            QTRY_VERIFY(form.message->isVisible());
            QCOMPARE(form.message->text(), QString::fromLatin1(row.message));
            QCOMPARE(m_server.requests().size(), row.requests);
            QVERIFY(dialog.isVisible() && form.ok->isEnabled() && form.address->hasFocus());
            QTest::keyClick(form.address, Qt::Key_X);
            QVERIFY(form.message->isHidden());
        }
    }

    void acceptsAPageWithStreams()
    {
        DlgNewDownload dialog{QString()};
        const Form form(dialog);
        QString typed = m_server.url(QStringLiteral("/good"));
        form.address->setText(QStringLiteral(" ") + QString(typed).insert(9, QLatin1Char(' ')));
        form.quality->setCurrentText(QStringLiteral("Best"));
        form.format->setCurrentText(QStringLiteral("Phone"));
        QSignalSpy accepted(&dialog, &QDialog::accepted);
        form.ok->click();
        QCOMPARE(accepted.size(), 1);
        QCOMPARE(dialog.videoInfo().pageUrl, typed);
        QCOMPARE(dialog.videoInfo().streams.size(), 1);
        QCOMPARE(Options::instance()->sourceQuality, 2);
        QCOMPARE(Options::instance()->outputFormat, 7);
    }

    void closedDuringTheAnalysis() { endDuringTheAnalysis(false); }
    void deletedDuringTheAnalysis() { endDuringTheAnalysis(true); }

    void pastesOncePerEntry()
    {
        DlgNewDownload dialog(QStringLiteral("typed"));
        const Form form(dialog);
        const auto copy = [](const QString &text) { QGuiApplication::clipboard()->setText(text); };
        // Moves over a child count as moves over the dialog.
        const auto move = [](QWidget *widget) {
            QMouseEvent event(QEvent::MouseMove, QPointF(5, 5), Qt::NoButton, Qt::NoButton,
                              Qt::NoModifier);
            QApplication::sendEvent(widget, &event);
        };
        const auto leave = [&dialog] {
            QEvent event(QEvent::Leave);
            QApplication::sendEvent(&dialog, &event);
        };
        const QString address = QStringLiteral("http://127.0.0.1/a");
        copy(QStringLiteral("http://www.other.test/1"));
        move(&dialog);
        copy(QStringLiteral(" %1\n").arg(address));
        move(&dialog); // looked at once per entry
        QCOMPARE(form.address->text(), QStringLiteral("typed"));
        leave();
        move(form.address);
        QCOMPARE(form.address->text(), address);
        QCOMPARE(form.address->selectedText(), address);
        form.address->setText(address + QLatin1Char(' '));
        leave();
        move(&dialog); // the same but for blanks
        copy(QStringLiteral("127.0.0.1/b"));
        leave();
        form.ok->setEnabled(false); // as while an analysis runs
        move(&dialog);
        QCOMPARE(form.address->text(), address + QLatin1Char(' '));
    }

private:
    void endDuringTheAnalysis(bool deleted)
    {
        HttpResponse silent;
        silent.stallBeforeHeaders = true;
        m_server.setResponse("/silent", silent);
        QPointer<DlgNewDownload> dialog(
            new DlgNewDownload(m_server.url(QStringLiteral("/silent"))));
        QSignalSpy accepted(dialog, &QDialog::accepted);
        dialog->show();
        QTimer watch;
        connect(&watch, &QTimer::timeout, this, [this, &watch, &dialog, deleted] {
            if (m_server.requests().isEmpty())
                return;
            watch.stop();
            QVERIFY(!Form(*dialog).ok->isEnabled());
            if (deleted)
                delete dialog.data();
            else
                dialog->reject();
        });
        watch.start(10);
        dialog->onDownload(); // returns when the analysis is over
        QVERIFY(!watch.isActive());
        QCOMPARE(dialog.isNull(), deleted);
        QCOMPARE(accepted.size(), 0);
        QCOMPARE(m_server.requests().size(), 1);
        delete dialog.data();
    }

    void choose(int quality, int format)
    {
        Options::instance()->sourceQuality = quality;
        Options::instance()->outputFormat = format;
        OutputProfileManager::destroyInstance();
        QVERIFY(
            OutputProfileManager::instance()->load(m_sandbox.path(QStringLiteral("Profiles.xml"))));
    }

    Sandbox &m_sandbox;
    HttpServer m_server;
};

REELKEEPER_TEST_MAIN(TestNewDownload)
#include "tst_newdownload.moc"
