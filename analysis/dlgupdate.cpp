#include "dlgupdate.h"

#include "ui_dlgupdate.h"

#include "appinfo.h"
#include "logfile.h"
#include "messagebox.h"
#include "options.h"
#include "simpledownload.h"
#include "siteprofile.h"

#include <QFile>
#include <QIcon>
#include <QPointer>
#include <QTimer>

namespace {
constexpr int startDelay = 200; // milliseconds

void log(const QString &text)
{
    LogFile::instance()->write(QStringLiteral("Check update:"), text);
}

// The outcome is in the log; a manifest that stays behind is overwritten by the next check.
void removeManifest(const QString &path)
{
    if (Options::instance()->removeUpdateFile)
        QFile::remove(path);
}
} // namespace

QDlgUpdate::QDlgUpdate(QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::dlgUpdating>())
{
    m_ui->setupUi(this);
    setWindowIcon(QIcon(QStringLiteral(":/png/GeneratedFiles/mainframe_mediu.png")));
    setFramelessDialogFlags(this);
    setAttribute(Qt::WA_QuitOnClose, false);
    ShowMessage(QStringLiteral("Please wait,checking for update..."));
    connect(this, &QDialog::finished, this, [this] { m_closed = true; });
    QTimer::singleShot(startDelay, this, &QDlgUpdate::Check);
}

QDlgUpdate::~QDlgUpdate() = default;

void QDlgUpdate::ShowMessage(QString strText)
{
    m_ui->labelMessage->setText(strText);
}

void QDlgUpdate::Finished(int nRe)
{
    if (nRe > 0)
        accept();
    else
        reject();
}

bool QDlgUpdate::download(const QString &url, const QString &path)
{
    if (m_closed)
        return false;
    SimpleDownload download;
    connect(this, &QDialog::finished, &download, &SimpleDownload::stop);
    connect(this, &QObject::destroyed, &download, &SimpleDownload::stop);
    return download.download(url, path);
}

void QDlgUpdate::Check()
{
    // The downloads run event loops, in which the dialog may be closed or deleted.
    const QPointer<QDlgUpdate> self(this);
    const auto end = [self](int result) {
        if (self && !self->m_closed)
            self->Finished(result);
    };
    const auto fetch = [self](const QString &url, const QString &path) {
        return self && self->download(url, path);
    };

    const int installed = Options::instance()->jsVersion;
    const QString directory = Options::instance()->jsPath;
    const QString address = AppInfo::instance()->profileListUrl;
    const QString manifest = directory + QStringLiteral("Profile.xml");
    if (!fetch(address, manifest)) {
        log(QStringLiteral("%1 downlaod failed.").arg(address));
        return end(0);
    }

    SiteProfile profile;
    const int published = profile.load(manifest);
    if (published < 0) {
        log(QStringLiteral("%1 downlaod failed.").arg(address));
        removeManifest(manifest);
        return end(0);
    }
    if (published == installed) {
        log(QStringLiteral("current version(%1) same as server.").arg(published));
        removeManifest(manifest);
        return end(1);
    }

    if (self)
        ShowMessage(QStringLiteral("Updating Corvane Reelkeeper..."));
    if (!profile.downloadScripts(directory, fetch)) {
        log(QStringLiteral("download js to \"%1\" failed.").arg(directory));
        removeManifest(manifest);
        return end(0);
    }
    Options::instance()->jsVersion = published;
    removeManifest(manifest);
    log(QStringLiteral("update to new version(%1).").arg(published));
    end(1);
}
