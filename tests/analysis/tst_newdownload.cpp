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
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>

static const QByteArray profiles =
    "<p><video_quality><q value='1x1' display='Low'/><q value='2x2' display='High'/>"
    "</video_quality><save_as>"
    "<g des='g'><i id='7' display='Phone' value='' ext='m' size='0x0' fixed_size='0'/></g>"
    "<g des='h'><i id='8' display='TV' value='' ext='m' size='0x0' fixed_size='0'/></g>"
    "</save_as></p>";

// The dialog and its parts as a person finds them.
struct Form
{
    explicit Form(const NewDownloadSurroundings &surroundings)
        : dialog(QString(), surroundings)
    {
    }

    DlgNewDownload dialog;
    QLineEdit *address = dialog.findChild<QLineEdit *>();
    QLabel *message = dialog.findChild<QLabel *>("label_4"_q);
    QComboBox *quality = dialog.findChild<QComboBox *>("comboBox"_q);
    QComboBox *format = dialog.findChild<QComboBox *>("comboBox_2"_q);
    QPushButton *ok = dialog.findChild<QPushButton *>();
};

// From an address to the streams of its page. The site's script hands over the page as it is, or
// does what the page says.
class TestNewDownload final : public QObject
{
    Q_OBJECT

public:
    explicit TestNewDownload(Sandbox &sandbox)
        : m_sandbox(sandbox)
    {
        m_sandbox.loadOptions(true);
    }

private slots:
    void initTestCase()
    {
        m_info.supportedHosts = QStringList("127.0.0.1"_q);
        QVERIFY(writeFile(m_sandbox.scriptFolder() + "127.0.0.1"_q,
                          "var p = strWebBuffer.toString(); p.indexOf('run:') ? p : eval(p)"));
        m_scripts.loadScripts(m_sandbox.scriptFolder());
        QVERIFY(writeFile(m_sandbox.path("Profiles.xml"_q), profiles));
        QVERIFY(m_server.listen());
        m_options.sourceQuality = 1;
        m_options.outputFormat = 9; // is not there
        QVERIFY(m_profiles.load(m_sandbox.path("Profiles.xml"_q)));
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
            Form form(m_surroundings);
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
                                "1x1$9$$flv\r\n|http://v$||||2x2$9$$mp4|http://u";
        const HttpResponse empty = HttpResponse::text("");
        m_server.setResponses("/w1/watch", {empty, empty, empty, empty, HttpResponse::text(page)});
        const QString url = m_server.url("/w1/watch"_q).mid(7); // without a scheme
        const Form form(m_surroundings);
        QCOMPARE(form.quality->currentText() + form.format->currentText(), "High"_q);
        QCOMPARE(form.quality->count() + form.format->count(), 6); // a separator in each
        form.address->setText(" "_q + QString(url).insert(9, QLatin1Char(' ')));
        form.quality->setCurrentText("Low"_q);
        form.format->setCurrentText("Phone"_q);
        form.ok->click();
        QCOMPARE(form.dialog.result(), int(QDialog::Accepted));
        QCOMPARE(m_options.sourceQuality, 0);
        QCOMPARE(m_options.outputFormat, 7);
        const VideoInfo info = form.dialog.videoInfo();
        QCOMPARE(info.pageUrl, url);
        QVERIFY(m_sandbox.logLines().contains("Read page:"_q + url));
        QCOMPARE(info.streams.size(), 2); // the last is the first again
        QCOMPARE(info.streams.at(1).videoAddress, "http://v$"_q);
        QCOMPARE(info.selectedStream, 1);
        QCOMPARE(m_sandbox.logLines().last(), "Select: 1x1  flv  "_q); // a line of the log is one
    }

    // While the page is on its way, and while its script runs for ever.
    void endsDuringTheAnalysis()
    {
        HttpResponse silent;
        silent.stallBeforeHeaders = true;
        const HttpResponse endless =
            HttpResponse::text("run: while (true) { try { while (true) {} } catch (e) {} }");
        QPointer<DlgNewDownload> dialog;
        const std::function<void()> ends[] = {[&] { dialog->reject(); }, [&] { delete dialog; },
                                              &QCoreApplication::quit};
        for (const HttpResponse &answer : {silent, endless}) {
            for (const auto &end : ends) {
                m_server.clearRequests();
                m_server.setResponse("/page", answer);
                dialog = new DlgNewDownload(m_server.url("/page"_q), m_surroundings);
                QSignalSpy accepted(dialog, &QDialog::accepted);
                int looks = 0;
                QTimer person; // the window answers all the time
                connect(&person, &QTimer::timeout, this, [&] {
                    if (m_server.requests().isEmpty() || ++looks != 10)
                        return;
                    dialog->onDownload(); // a second analysis cannot start
                    end();
                });
                person.start(20);
                QTimer::singleShot(0, dialog, [&] {
                    dialog->onDownload(); // returns when the analysis is over
                    QCoreApplication::quit();
                });
                QCOMPARE(QApplication::exec() + accepted.size(), 0);
                QCOMPARE(m_server.requests().size(), 1);
                const QString last = m_sandbox.logLines().last(); // nothing failed
                QVERIFY2(last.startsWith("Parse page:"_q) || last.startsWith("Read page:"_q),
                         qPrintable(last));
                delete dialog;
            }
        }
    }

    void alertShowsWhatItSays()
    {
        m_server.setResponse("/page", HttpResponse::text("run: alert('<b>a</b>') + '$Error'"));
        DlgNewDownload dialog(m_server.url("/page"_q), m_surroundings);
        QString shown;
        QTimer person;
        connect(&person, &QTimer::timeout, this, [&] {
            if (const auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
                shown = box->textFormat() == Qt::PlainText ? box->text() : QString();
                dialog.reject(); // closes it too
            }
        });
        person.start(20);
        dialog.onDownload();
        QCOMPARE(shown, "<b>a</b>"_q);
    }

    void pastesOncePerEntry()
    {
        Form form(m_surroundings);
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
    AppInfo m_info;
    Options m_options;
    OutputProfileManager m_profiles{m_options};
    CJSLib m_scripts;
    const NewDownloadSurroundings m_surroundings{m_options, m_profiles, m_scripts, m_info};
};

REELKEEPER_TEST_MAIN(TestNewDownload)
#include "tst_newdownload.moc"
