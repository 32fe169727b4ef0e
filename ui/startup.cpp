#include "startup.h"

#include "appinfo.h"
#include "cjslib.h"
#include "dlgupdate.h"
#include "downloadermanager.h"
#include "logfile.h"
#include "messagebox.h"
#include "options.h"
#include "outputprofilemanager.h"
#include "webdatabase.h"

#include <QGuiApplication>
#include <QScreen>

static void report(QMessageBox::Icon icon, const char *text, const QString &logText)
{
    showMessageBox(icon, QString(), QCoreApplication::translate("MainWindow", text),
                   QMessageBox::Ok, QMessageBox::Ok);
    LogFile::instance()->write(QStringLiteral("Failed:"), logText);
}

void updateScripts(Options &options, const AppInfo &info)
{
    QDlgUpdate dialog(options, info.profileListUrl);
    if (const QScreen *screen = QGuiApplication::primaryScreen())
        dialog.move(screen->availableGeometry().center() - dialog.rect().center());
    dialog.exec();
}

Stores::Stores()
    : info(*AppInfo::instance())
    , options(*Options::instance())
    , scripts(*CJSLib::instance())
    , profiles(*OutputProfileManager::instance())
    , manager(*DownloaderManager::instance())
    , database(*WebDatabase::instance())
{
    options.load();
    if (options.enableLogging)
        LogFile::instance()->open();
}

// The manager first: its jobs work with all others.
Stores::~Stores()
{
    DownloaderManager::destroyInstance();
    WebDatabase::destroyInstance();
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
               "Failed to load profiles. Please reinstall the program to solve this problem.",
               QStringLiteral("Load profiles.xml"));
        return false;
    }
    if (!database.Init()) {
        report(QMessageBox::Critical,
               "Failed to load the download database. Please reinstall the program to solve this "
               "problem.",
               QStringLiteral("Load Database."));
        return false;
    }
    if (database.Read(&manager))
        return true;
    report(QMessageBox::Warning,
           "Failed to read from the download database. A new database is going to be created and "
           "the download history will be lost.",
           QStringLiteral("Read Database."));
    if (database.Recreate())
        return true;
    report(QMessageBox::Critical,
           "Failed to create the download database. Please reinstall the program to solve this "
           "problem.",
           QStringLiteral("Create Database."));
    return false;
}
