#include "startup.h"

#include "appinfo.h"
#include "cjslib.h"
#include "dlgupdate.h"
#include "downloadermanager.h"
#include "logfile.h"
#include "messagebox.h"
#include "networkaccess.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "webdatabase.h"

#include <QFileInfo>
#include <QGuiApplication>
#include <QScreen>

static void report(QMessageBox::Icon icon, const QString &text, const QString &logText)
{
    showMessageBox(icon, QString(), text, QMessageBox::Ok, QMessageBox::Ok);
    LogFile::instance()->write(QStringLiteral("Failed:"), logText);
}

// The file is as it was; to install the program again would change nothing.
static void reportWithheld(const WebDatabase &database, const QString &logText)
{
    report(QMessageBox::Critical,
           QCoreApplication::translate(
               "MainWindow",
               "The download database \"%1\" is in use by another program or cannot be read "
               "at the moment. It has not been changed. Please start again later.")
               .arg(database.path()),
           logText);
}

// The person is told why the list could not be read. False when the program must end.
static bool replaceList(WebDatabase &database, StorageThread &storage)
{
    const QString logText = QStringLiteral("Read Database.");
    switch (database.state()) {
    case FileState::Withheld:
        reportWithheld(database, logText);
        return false;
    case FileState::Missing:
        report(QMessageBox::Warning,
               QCoreApplication::translate(
                   "MainWindow",
                   "The download database has been removed while it was being read. A new "
                   "database is going to be created."),
               logText);
        break;
    default:
        report(QMessageBox::Warning,
               QCoreApplication::translate(
                   "MainWindow",
                   "Failed to read from the download database. A new database is going to "
                   "be created and the download history will be lost.") +
                   QStringLiteral("\n\n") +
                   QCoreApplication::translate("MainWindow",
                                               "The old file is kept beside it, as \"%1\".")
                       .arg(QFileInfo(database.asideName()).fileName()),
               logText);
    }
    bool created = false;
    storage.run([&] { created = database.Recreate(); });
    if (created)
        return true;
    report(QMessageBox::Critical,
           QCoreApplication::translate(
               "MainWindow",
               "Failed to create the download database. Please reinstall the program to "
               "solve this problem."),
           QStringLiteral("Create Database."));
    return false;
}

void updateScripts(Options &options, const AppInfo &info)
{
    QDlgUpdate dialog(options, info.profileListUrl,
                      QCoreApplication::applicationDirPath() + QStringLiteral("/site-scripts"));
    if (const QScreen *screen = QGuiApplication::primaryScreen())
        dialog.move(screen->availableGeometry().center() - dialog.rect().center());
    dialog.exec();
}

// What all other stores are made with. The log tells from here on.
static Options &loadSettings(AppInfo &info)
{
    Options &options = *Options::instance();
    options.load();
    LogFile *log = LogFile::instance(); // made here, before other threads use it
    if (options.enableLogging)
        log->open();
    if (options.secureHosts)
        info.secureHosts = SecureHosts::fromText(*options.secureHosts);
    if (!info.secureHosts.odd.isEmpty())
        log->write(QStringLiteral("Failed:"),
                   QStringLiteral("Secure hosts, more or other than a name: %1")
                       .arg(info.secureHosts.odd.join(QStringLiteral(", "))));
    if (!info.certificateFile.isEmpty())
        trustCertificatesOf(info.certificateFile);
    return options;
}

Stores::Stores()
    : info(*AppInfo::instance())
    , options(loadSettings(info))
    , scripts(*CJSLib::instance())
    , profiles(*OutputProfileManager::instance())
    , manager(*DownloaderManager::instance())
    , database(*WebDatabase::instance())
    , saver(manager, database, storage)
{
    storage.begin([this] {
        m_opened = database.Init();
        m_rowsRead = m_opened && database.ReadRows();
    });
}

// The manager first of all: its jobs work with all others.
Stores::~Stores()
{
    saver.saveLast();
    DownloaderManager::destroyInstance();
    storage.run(&WebDatabase::destroyInstance);
    OutputProfileManager::destroyInstance();
    CJSLib::destroyInstance();
    LogFile::destroyInstance();
    options.save();
    Options::destroyInstance();
    AppInfo::destroyInstance();
}

bool Stores::load()
{
    if (!profiles.load()) {
        report(QMessageBox::Critical,
               QCoreApplication::translate(
                   "MainWindow",
                   "Failed to load profiles. Please reinstall the program to solve this "
                   "problem."),
               QStringLiteral("Load profiles.xml"));
        return false;
    }
    storage.finish();
    if (m_opened) {
        database.TakeRows([this](const auto &fill) { return manager.loadJob(fill); });
        return m_rowsRead || replaceList(database, storage);
    }
    if (database.state() == FileState::Withheld) {
        reportWithheld(database, QStringLiteral("Load Database."));
        return false;
    }
    report(QMessageBox::Critical,
           QCoreApplication::translate(
               "MainWindow",
               "Failed to load the download database. Please reinstall the program to solve "
               "this problem."),
           QStringLiteral("Load Database."));
    return false;
}
