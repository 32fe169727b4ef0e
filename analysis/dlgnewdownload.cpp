#include "dlgnewdownload.h"

#include "ui_dlgnewdownload.h"

#include "appinfo.h"
#include "messagebox.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "pageanalysis.h"
#include "trace.h"

#include <QClipboard>
#include <QEvent>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QIcon>
#include <QPointer>
#include <QUrl>

namespace {
QString messageFor(int result, const QString &reason)
{
    switch (result) {
    case PageAnalysis::InvalidUrl:
        return DlgNewDownload::tr("The URL you input is invalid.");
    case PageAnalysis::NotSupported:
        return DlgNewDownload::tr("Page not support.");
    case PageAnalysis::NoPage:
        return reason.isEmpty() ? DlgNewDownload::tr("Can not get page.")
                                : DlgNewDownload::tr("Can not get page: %1.").arg(reason);
    case PageAnalysis::NoVideo:
        return DlgNewDownload::tr("Not contain video.");
    default:
        return DlgNewDownload::tr("Download Error.");
    }
}

// An address that can be tried. A site on the update server's host is the bundled one, which
// listens where that does.
QString exampleAddress(const AppInfo &info)
{
    const QString host = info.supportedHosts.value(0);
    const QUrl updates(info.profileListUrl);
    const QString port = updates.host() == host && updates.port() > 0
                             ? QStringLiteral(":%1").arg(updates.port())
                             : QString();
    return QStringLiteral("http://%1%2/watch?v=8rWkWx2yVhE").arg(host, port);
}

int qualityIndex(const OutputProfileManager &profiles, const QString &display)
{
    const QVector<VideoQuality> &qualities = profiles.qualities();
    for (int i = 0; i < qualities.size(); ++i) {
        if (qualities.at(i).display == display)
            return i;
    }
    return -1;
}

int formatId(const OutputProfileManager &profiles, const QString &display)
{
    for (const auto &group : profiles.groups()) {
        for (const auto &item : group->items) {
            if (item->display == display)
                return item->id;
        }
    }
    return -1;
}

// What a script wants to be seen. It comes from a page: markup in it is not to be shown as such.
void showAlert(const QDialog *dialog, const QString &text)
{
    QMessageBox box(QMessageBox::Warning, DlgNewDownload::tr("QAlert"), text, QMessageBox::Yes);
    box.setTextFormat(Qt::PlainText);
    box.setAttribute(Qt::WA_QuitOnClose, false);
    QObject::connect(dialog, &QDialog::finished, &box, &QDialog::reject);
    QObject::connect(dialog, &QObject::destroyed, &box, &QDialog::reject);
    box.exec();
}

void preselect(QComboBox *box, const QString &text)
{
    box->setCurrentIndex(text.isNull() ? -1 : box->findText(text));
}
} // namespace

DlgNewDownload::DlgNewDownload(const QString &url, const NewDownloadSurroundings &surroundings,
                               QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::dlgNewDownload>())
    , m_surroundings(surroundings)
    , m_clipboard(QGuiApplication::clipboard())
{
    setUpForm();
    connect(m_ui->btnOk, &QPushButton::clicked, this, &DlgNewDownload::onDownload);
    connect(m_ui->lineEditPage, &QLineEdit::textChanged, this, &DlgNewDownload::onURLChange);
    connect(this, &QDialog::finished, this, [this] { m_closed = true; });
    fillChoices();
    if (!url.isEmpty())
        setAddress(url);
    m_ui->label_4->hide();
}

DlgNewDownload::~DlgNewDownload() = default;

void DlgNewDownload::setUpForm()
{
    m_ui->setupUi(this);
    setWindowIcon(QIcon(QStringLiteral(":/png/GeneratedFiles/mainframe_mediu.png")));
    m_ui->label->setText(m_ui->label->text().arg(exampleAddress(m_surroundings.info)));
    setFixedDialogFlags(this);
    // A child under the mouse keeps the moves to itself, and the dialog is mostly children.
    const QList<QWidget *> children = findChildren<QWidget *>();
    for (QWidget *child : children) {
        child->setMouseTracking(true);
        child->installEventFilter(this);
    }
}

void DlgNewDownload::setAddress(const QString &text)
{
    m_ui->lineEditPage->setText(text);
    const int length = m_ui->lineEditPage->text().size();
    m_ui->lineEditPage->setSelection(length, -length); // backwards: the cursor ends at the start
}

VideoInfo DlgNewDownload::videoInfo() const
{
    return m_videoInfo;
}

void DlgNewDownload::fillChoices()
{
    const OutputProfileManager &profiles = m_surroundings.profiles;
    for (const VideoQuality &quality : profiles.qualities())
        m_ui->comboBox->addItem(quality.display);
    if (m_ui->comboBox->count() > 0)
        m_ui->comboBox->insertSeparator(m_ui->comboBox->count() - 1);
    const int stored = m_surroundings.options.sourceQuality;
    const bool known = stored >= 0 && stored < profiles.qualities().size();
    preselect(m_ui->comboBox, known ? profiles.qualities().at(stored).display : QString());

    bool first = true;
    for (const auto &group : profiles.groups()) {
        if (!first)
            m_ui->comboBox_2->insertSeparator(m_ui->comboBox_2->count());
        first = false;
        for (const auto &item : group->items) {
            m_ui->comboBox_2->addItem(item->display);
            TRACE() << item->display;
        }
    }
    const SaveAsItem *current = profiles.current();
    preselect(m_ui->comboBox_2, current ? current->display : QString());
}

void DlgNewDownload::applySelection()
{
    OutputProfileManager &profiles = m_surroundings.profiles;
    const int quality = qualityIndex(profiles, m_ui->comboBox->currentText());
    const int format = formatId(profiles, m_ui->comboBox_2->currentText());
    if (quality < 0 || format == -1)
        return;
    // Both are known to the store, so neither call can fail.
    profiles.setSourceQuality(quality);
    profiles.setOutputFormat(format);
}

void DlgNewDownload::showMessage(const QString &text)
{
    const QFontMetrics metrics(m_ui->label_4->font());
    m_ui->label_4->setText(metrics.elidedText(text, Qt::ElideRight, m_ui->label_4->width()));
    m_ui->label_4->setToolTip(text);
    m_ui->label_4->show();
}

int DlgNewDownload::analysePage(const QString &url)
{
    const QPointer<DlgNewDownload> self(this);
    PageAnalysis analysis(
        m_surroundings.scripts, [&self](const QString &text) { showAlert(self, text); },
        HttpGet::transferTimeout);
    connect(this, &QDialog::finished, &analysis, &PageAnalysis::stop);
    connect(this, &QObject::destroyed, &analysis, &PageAnalysis::stop);
    VideoInfo info;
    const SiteAccess access = siteAccess(url, m_surroundings.info.secureHosts);
    const int result = analysis.analyse(access, m_surroundings.profiles, &info);
    if (self) {
        m_videoInfo = info;
        m_reason = analysis.reason();
    }
    return result;
}

void DlgNewDownload::onDownload()
{
    if (!m_ui->btnOk->isEnabled()) // an analysis is under way, and this one of its events
        return;
    QString address = m_ui->lineEditPage->text().trimmed();
    address.remove(QLatin1Char(' '));
    if (address.isEmpty()) {
        showMessage(tr("Please input a YouTube URL."));
        m_ui->lineEditPage->setFocus();
        return;
    }
    applySelection();
    m_ui->btnOk->setEnabled(false);
    const QPointer<DlgNewDownload> self(this);
    const int result = analysePage(address);
    if (!self || m_closed)
        return;
    if (result == PageAnalysis::Success) {
        accept();
        return;
    }
    m_ui->lineEditPage->selectAll();
    m_ui->lineEditPage->setFocus();
    m_ui->btnOk->setEnabled(true);
    showMessage(messageFor(result, m_reason));
}

void DlgNewDownload::onMouseMoveIn()
{
    if (!m_pasteArmed || !m_ui->btnOk->isEnabled())
        return;
    const QString copied = m_clipboard->text().trimmed();
    if (!copied.isEmpty() && m_surroundings.info.isSupportedUrl(copied) &&
        copied != m_ui->lineEditPage->text().trimmed())
        setAddress(copied);
    m_pasteArmed = false;
}

void DlgNewDownload::onMouseMoveLeave()
{
    m_pasteArmed = true;
}

void DlgNewDownload::onURLChange(QString)
{
    m_ui->label_4->hide();
}

bool DlgNewDownload::event(QEvent *event)
{
    if (event->type() == QEvent::MouseMove)
        onMouseMoveIn();
    else if (event->type() == QEvent::Leave)
        onMouseMoveLeave();
    return QDialog::event(event);
}

bool DlgNewDownload::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::MouseMove)
        onMouseMoveIn();
    return QDialog::eventFilter(watched, event);
}
