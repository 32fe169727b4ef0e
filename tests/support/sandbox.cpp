#include "sandbox.h"

#include "literals.h"
#include "logfile.h"
#include "options.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcessEnvironment>
#include <QSettings>

namespace {
void makeFolder(const QString &path)
{
    if (!QDir().mkpath(path))
        qFatal("cannot create %s", qPrintable(path));
}
} // namespace

Sandbox::Sandbox()
{
    if (!m_dir.isValid())
        qFatal("no folder for the test: %s", qPrintable(m_dir.errorString()));
    const QList<QPair<const char *, QString>> folders = {
        {"HOME", "home"_q},
        {"XDG_CONFIG_HOME", "config"_q},
        {"XDG_DATA_HOME", "data"_q},
        {"XDG_CACHE_HOME", "cache"_q},
        {"XDG_RUNTIME_DIR", "runtime"_q},
        {"XDG_DOCUMENTS_DIR", "documents"_q},
        {"TMPDIR", "tmp"_q},
    };
    for (const auto &folder : folders) {
        makeFolder(path(folder.second));
        qputenv(folder.first, QFile::encodeName(path(folder.second)));
    }
    QFile::setPermissions(path("runtime"_q),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    writeFile(path("config/user-dirs.dirs"_q),
              "XDG_DOCUMENTS_DIR=\"" + qgetenv("XDG_DOCUMENTS_DIR") + "\"\n");
    makeFolder(outputFolder());
    makeFolder(scriptFolder());

    const QStringList names = QProcessEnvironment::systemEnvironment().keys();
    for (const QString &name : names) {
        if (name.startsWith(QLatin1String("REELKEEPER_")) &&
            name != QLatin1String("REELKEEPER_FFMPEG"))
            qunsetenv(name.toLatin1());
    }
    // No test may reach the services of the machine it runs on.
    const QByteArray nowhere = "unix:path=" + QFile::encodeName(path("no-bus"_q));
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", nowhere);
    qputenv("DBUS_SESSION_BUS_ADDRESS", nowhere);
}

QString Sandbox::path(const QString &name) const
{
    return name.isEmpty() ? m_dir.path() : m_dir.filePath(name);
}

QString Sandbox::outputFolder() const
{
    return path("output/"_q);
}

QString Sandbox::scriptFolder() const
{
    return path("scripts/"_q);
}

void Sandbox::loadOptions(bool logging)
{
    Options::destroyInstance();
    {
        QSettings settings("Quarnitek"_q, "Corvane Reelkeeper"_q);
        settings.setValue("Options/Output Folder"_q, outputFolder());
        settings.setValue("Options/JS Path"_q, scriptFolder());
        settings.setValue("Debug/Enable Logging"_q, logging);
        settings.sync();
    }
    Options::instance()->load();
    LogFile::destroyInstance();
    if (logging)
        LogFile::instance()->open();
}

QStringList Sandbox::logLines() const
{
    const QFileInfoList logs =
        QDir(QDir::tempPath())
            .entryInfoList({"Corvane Reelkeeper-*.log"_q}, QDir::Files, QDir::Time);
    if (logs.isEmpty())
        return {};
    QString text = QString::fromUtf8(readFile(logs.first().filePath()));
    text.remove(QLatin1Char('\r'));
    return text.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly) &&
           file.write(bytes) == bytes.size() && file.flush();
}
