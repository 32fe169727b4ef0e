#include "dlgnewdownload.h"

#include "ui_dlgnewdownload.h"

#include "appinfo.h"
#include "httpget.h"
#include "messagebox.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "pageanalysis.h"
#include "trace.h"

#include <QClipboard>
#include <QEvent>
#include <QGuiApplication>
#include <QIcon>
#include <QPointer>

namespace {
QString messageFor(int result)
{
    switch (result) {
    case PageAnalysis::InvalidUrl:
        return QStringLiteral("The URL you input is invalid.");
    case PageAnalysis::NotSupported:
        return QStringLiteral("Page not support.");
    case PageAnalysis::NoPage:
        return QStringLiteral("Can not get page.");
    case PageAnalysis::NoVideo:
        return QStringLiteral("Not contain video.");
    default:
        return QStringLiteral("Download Error.");
    }
}

int qualityIndex(const QString &display)
{
    const QVector<VideoQuality> &qualities = OutputProfileManager::instance()->qualities();
    for (int i = 0; i < qualities.size(); ++i) {
        if (qualities.at(i).display == display)
            return i;
    }
    return -1;
}

int formatId(const QString &display)
{
    for (const auto &group : OutputProfileManager::instance()->groups()) {
        for (const auto &item : group->items) {
            if (item->display == display)
                return item->id;
        }
    }
    return -1;
}

void preselect(QComboBox *box, const QString &text)
{
    box->setCurrentIndex(text.isNull() ? -1 : box->findText(text));
}
} // namespace

DlgNewDownload::DlgNewDownload(const QString &url, QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::dlgNewDownload>())
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
    setFixedDialogFlags(this);
    setAttribute(Qt::WA_QuitOnClose, false);
    m_ui->label->setText(
        m_ui->label->text().arg(QStringLiteral("http://%1/watch?v=8rWkWx2yVhE")
                                    .arg(AppInfo::instance()->supportedHosts.value(0))));
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
    const OutputProfileManager *profiles = OutputProfileManager::instance();
    for (const VideoQuality &quality : profiles->qualities())
        m_ui->comboBox->addItem(quality.display);
    if (m_ui->comboBox->count() > 0)
        m_ui->comboBox->insertSeparator(m_ui->comboBox->count() - 1);
    const int stored = Options::instance()->sourceQuality;
    const bool known = stored >= 0 && stored < profiles->qualities().size();
    preselect(m_ui->comboBox, known ? profiles->qualities().at(stored).display : QString());

    bool first = true;
    for (const auto &group : profiles->groups()) {
        if (!first)
            m_ui->comboBox_2->insertSeparator(m_ui->comboBox_2->count());
        first = false;
        for (const auto &item : group->items) {
            m_ui->comboBox_2->addItem(item->display);
            TRACE() << item->display;
        }
    }
    const SaveAsItem *current = profiles->current();
    preselect(m_ui->comboBox_2, current ? current->display : QString());
}

void DlgNewDownload::applySelection()
{
    const int quality = qualityIndex(m_ui->comboBox->currentText());
    const int format = formatId(m_ui->comboBox_2->currentText());
    if (quality < 0 || format == -1)
        return;
    // Both are known to the store, so neither call can fail.
    OutputProfileManager::instance()->setSourceQuality(quality);
    OutputProfileManager::instance()->setOutputFormat(format);
}

void DlgNewDownload::showMessage(const QString &text)
{
    m_ui->label_4->setText(text);
    m_ui->label_4->show();
}

int DlgNewDownload::analysePage(const QString &url)
{
    // Event loops run meanwhile: when one of them closes the dialog, nobody waits for the page.
    const QPointer<DlgNewDownload> self(this);
    HttpGet fetcher;
    connect(this, &QDialog::finished, &fetcher, &HttpGet::stop);
    connect(this, &QObject::destroyed, &fetcher, &HttpGet::stop);
    VideoInfo info;
    const int result = PageAnalysis::analyse(url, fetcher, &info);
    if (self)
        m_videoInfo = info;
    return result;
}

void DlgNewDownload::onDownload()
{
    QString address = m_ui->lineEditPage->text().trimmed();
    address.remove(QLatin1Char(' '));
    if (address.isEmpty()) {
        showMessage(QStringLiteral("Please input a YouTube URL."));
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
    showMessage(messageFor(result));
}

void DlgNewDownload::onMouseMoveIn()
{
    if (!m_pasteArmed || !m_ui->btnOk->isEnabled())
        return;
    const QString copied = m_clipboard->text().trimmed();
    if (!copied.isEmpty() && AppInfo::instance()->isSupportedUrl(copied) &&
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
