#include "dlgupdate.h"

#include "ui_dlgupdate.h"

#include "files.h"
#include "fittexts.h"
#include "logfile.h"
#include "messagebox.h"
#include "options.h"
#include "shippedscripts.h"
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

// The first failure of a check.
struct Failure
{
    QString file; // its address, or its path when it cannot be read
    int code = 0; // of SimpleDownload or of SiteProfile
};

void logFailure(const QString &text, const Failure &failure)
{
    log(text);
    log(QStringLiteral("file \"%1\", code %2.").arg(failure.file, QString::number(failure.code)));
}

void installShipped(const QString &folder, Options &options)
{
    const ShippedScripts::Result result = ShippedScripts(folder).putInto(options.jsPath);
    if (!result.problem.isEmpty())
        return log(QStringLiteral("shipped scripts not installed: ") + result.problem);
    options.jsVersion = result.version;
    options.save();
    log(QStringLiteral("shipped version(%1) installed.").arg(result.version));
}
} // namespace

QDlgUpdate::QDlgUpdate(Options &options, const QString &manifestAddress,
                       const QString &shippedScripts, QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::dlgUpdating>())
    , m_options(options)
    , m_manifestAddress(manifestAddress)
    , m_shippedScripts(shippedScripts)
{
    m_ui->setupUi(this);
    setWindowIcon(QIcon(QStringLiteral(":/png/GeneratedFiles/mainframe_mediu.png")));
    setFramelessDialogFlags(this);
    setAttribute(Qt::WA_QuitOnClose, false);
    ShowMessage(tr("Please wait,checking for update..."));
    connect(this, &QDialog::finished, this, [this] { m_closed = true; });
    QTimer::singleShot(startDelay, this, &QDlgUpdate::Check);
}

QDlgUpdate::~QDlgUpdate() = default;

void QDlgUpdate::ShowMessage(QString strText)
{
    m_ui->labelMessage->setText(strText);
    fitTexts(this);
}

void QDlgUpdate::Finished(int nRe)
{
    if (nRe > 0)
        accept();
    else
        reject();
}

// 0, or what SimpleDownload says.
int QDlgUpdate::download(const QString &url, const QString &path)
{
    ensureDir(absolutePathOf(path)); // without it the file cannot be written, which is told
    SimpleDownload download;
    connect(this, &QDialog::finished, &download, &SimpleDownload::stop);
    connect(this, &QObject::destroyed, &download, &SimpleDownload::stop);
    download.download(url, path);
    return download.error();
}

void QDlgUpdate::Check()
{
    // The downloads run event loops, in which the dialog may be closed or deleted.
    const QPointer<QDlgUpdate> self(this);
    Options &options = m_options;
    const QString address = m_manifestAddress;
    const QString directory = options.jsPath;
    const QString manifest = directory + QStringLiteral("Profile.xml");
    const QString shipped = m_shippedScripts;
    const bool shippedNeeded = !shipped.isEmpty() && ShippedScripts::isNeeded(directory);
    bool manifestFetched = false;
    Failure failure;
    const auto fetch = [&self, &failure](const QString &url, const QString &path) {
        const bool wanted = self && !self->m_closed;
        failure = {url, wanted ? self->download(url, path) : 0};
        return wanted && failure.code == 0;
    };
    const auto end = [&](bool upToDate, const QString &text) {
        // One that stays behind is overwritten by the next check.
        if (manifestFetched && options.removeUpdateFile)
            QFile::remove(manifest);
        const bool closed = !self || self->m_closed;
        if (upToDate)
            log(text);
        else if (!closed) // what the person ended did not fail
            logFailure(text, failure);
        if (!upToDate && shippedNeeded)
            installShipped(shipped, options);
        if (!closed)
            self->Finished(upToDate ? 1 : 0);
    };
    const QString noManifest = QStringLiteral("%1 downlaod failed.").arg(address);
    manifestFetched = fetch(address, manifest);
    if (!manifestFetched)
        return end(false, noManifest);

    SiteProfile profile;
    failure = {manifest, profile.read(manifest)};
    if (failure.code != SiteProfile::NoError)
        return end(false, noManifest);
    if (profile.version == options.jsVersion && profile.isInstalled(directory))
        return end(true,
                   QStringLiteral("current version(%1) same as server.").arg(profile.version));

    if (self)
        ShowMessage(tr("Updating Corvane Reelkeeper..."));
    if (!profile.downloadScripts(directory, fetch))
        return end(false, QStringLiteral("download js to \"%1\" failed.").arg(directory));
    options.jsVersion = profile.version;
    options.save();
    end(true, QStringLiteral("update to new version(%1).").arg(profile.version));
}
