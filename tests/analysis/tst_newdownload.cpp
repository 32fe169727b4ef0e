#include "appinfo.h"
#include "cjslib.h"
#include "dlgnewdownload.h"
#include "httpserver.h"
#include "literals.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "testmain.h"

#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>

static const QByteArray profiles =
    "<p><video_quality><q value='1x1' display='Low'/><q value='2x2' display='High'/>"
    "</video_quality><save_as>"
    "<g des='g'><i id='7' display='Phone' value='' ext='m' size='0x0' fixed_size='0'/></g>"
    "</save_as></p>";

// The dialog and its parts as a person finds them.
struct Form
{
    DlgNewDownload dialog{QString()};
    QLineEdit *address = dialog.findChild<QLineEdit *>();
    QLabel *message = dialog.findChild<QLabel *>("label_4"_q);
    QComboBox *quality = dialog.findChild<QComboBox *>("comboBox"_q);
    QComboBox *format = dialog.findChild<QComboBox *>("comboBox_2"_q);
    QPushButton *ok = dialog.findChild<QPushButton *>();
};

// From an address to the streams of its page. The site's script hands over the page as it is.
class TestNewDownload final : public QObject
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
        m_sandbox.loadOptions(true);
        AppInfo::instance()->supportedHosts = QStringList("127.0.0.1"_q);
        QVERIFY(writeFile(m_sandbox.scriptFolder() + "127.0.0.1"_q, "strWebBuffer.toString()"));
        CJSLib::instance()->loadScripts();
        QVERIFY(writeFile(m_sandbox.path("Profiles.xml"_q), profiles));
        QVERIFY(m_server.listen());
        Options::instance()->sourceQuality = 1;
        Options::instance()->outputFormat = 9; // is not there
        QVERIFY(OutputProfileManager::instance()->load(m_sandbox.path("Profiles.xml"_q)));
    }

    void showsAMessage()
    {
        m_server.setResponse("/none", HttpResponse::text("$Error:2x2$9$$mp4|u"));
        m_server.setResponse("/malformed", HttpResponse::text("a|b||c"));
        const struct
        {
            QString typed;
            const char *message;
            int requests;
        } cases[] = {
            {"  "_q, "Please input a YouTube URL.", 0},
            {"words"_q, "The URL you input is invalid.", 0},
            {"www.other.test/1"_q, "Page not support.", 0},
            {m_server.url("/404"_q), "Can not get page.", 5},
            {m_server.url("/none"_q), "Not contain video.", 1},
            {m_server.url("/malformed"_q), "Not contain video.", 1},
        };
        for (const auto &row : cases) {
            m_server.clearRequests();
            Form form;
            form.dialog.show();
            QVERIFY(QTest::qWaitForWindowActive(&form.dialog));
            QTest::keyClicks(form.address, row.typed);
            QTest::keyClick(form.address, Qt::Key_Return);
            QTRY_VERIFY(form.message->isVisible());
            QCOMPARE(form.message->text(), QString::fromLatin1(row.message));
            QCOMPARE(m_server.requests().size(), row.requests);
            QVERIFY(form.dialog.isVisible() && form.ok->isEnabled() && form.address->hasFocus());
            QTest::keyClick(form.address, Qt::Key_X);
            QVERIFY(form.message->isHidden());
        }
    }

    void takesTheStreamsOfThePage()
    {
        const QByteArray page = "2x2$9$$mp4|u||a|b||1$2$3$4$5|u||1$2$3$4|u|v||"
                                "1x1$9$$flv|http://v$||||2x2$9$$mp4|http://u";
        const HttpResponse empty = HttpResponse::text("");
        m_server.setResponses("/w1/watch", {empty, empty, empty, empty, HttpResponse::text(page)});
        const QString url = m_server.url("/w1/watch"_q).mid(7); // without a scheme
        const Form form;
        QCOMPARE(form.quality->currentText() + form.format->currentText(), "High"_q);
        form.address->setText(" "_q + QString(url).insert(9, QLatin1Char(' ')));
        form.quality->setCurrentText("Low"_q);
        form.format->setCurrentText("Phone"_q);
        form.ok->click();
        QCOMPARE(form.dialog.result(), int(QDialog::Accepted));
        QCOMPARE(Options::instance()->sourceQuality, 0);
        QCOMPARE(Options::instance()->outputFormat, 7);
        const VideoInfo info = form.dialog.videoInfo();
        QCOMPARE(info.pageUrl, url);
        QCOMPARE(info.streams.size(), 2); // the last is the first again
        QCOMPARE(info.streams.at(1).videoAddress, "http://v$"_q);
        QCOMPARE(info.selectedStream, 1);
        QCOMPARE(m_sandbox.logLines().last(), "Select: 1x1  flv"_q);
    }

    void closedOrDeletedDuringTheAnalysis()
    {
        for (bool deleted : {false, true}) {
            m_server.clearRequests();
            QPointer<DlgNewDownload> dialog(new DlgNewDownload(m_server.url("/silent"_q)));
            QSignalSpy accepted(dialog, &QDialog::accepted);
            m_server.setHandler("/silent", [&](const HttpRequest &) {
                QMetaObject::invokeMethod(dialog,
                                          [&] { deleted ? delete dialog : dialog->reject(); });
                HttpResponse silent;
                silent.stallBeforeHeaders = true;
                return silent;
            });
            dialog->onDownload(); // returns when the analysis is over
            QCOMPARE(dialog.isNull(), deleted);
            QCOMPARE(accepted.size(), 0);
            QCOMPARE(m_server.requests().size(), 1);
            delete dialog;
        }
    }

    void pastesOncePerEntry()
    {
        Form form;
        const auto leave = [&form] {
            QEvent event(QEvent::Leave);
            QApplication::sendEvent(&form.dialog, &event);
        };
        // Moves over a child count as moves over the dialog.
        const auto move = [&form] {
            QMouseEvent event(QEvent::MouseMove, QPointF(5, 5), Qt::NoButton, Qt::NoButton,
                              Qt::NoModifier);
            QApplication::sendEvent(form.address, &event);
        };
        QGuiApplication::clipboard()->setText("words"_q);
        move();
        QGuiApplication::clipboard()->setText(" http://127.0.0.1/a\n"_q);
        move(); // looked at once per entry
        QCOMPARE(form.address->text(), QString());
        leave();
        move();
        QCOMPARE(form.address->selectedText(), "http://127.0.0.1/a"_q);
    }

private:
    Sandbox &m_sandbox;
    HttpServer m_server;
};

REELKEEPER_TEST_MAIN(TestNewDownload)
#include "tst_newdownload.moc"
