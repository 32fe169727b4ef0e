#include "sandbox.h"

#include "options.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcessEnvironment>
#include <QSettings>
#include <QStandardPaths>

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
        {"HOME", QStringLiteral("home")},
        {"XDG_CONFIG_HOME", QStringLiteral("config")},
        {"XDG_DATA_HOME", QStringLiteral("data")},
        {"XDG_CACHE_HOME", QStringLiteral("cache")},
        {"XDG_RUNTIME_DIR", QStringLiteral("runtime")},
        {"XDG_DOCUMENTS_DIR", QStringLiteral("documents")},
        {"TMPDIR", QStringLiteral("tmp")},
    };
    for (const auto &folder : folders) {
        makeFolder(path(folder.second));
        qputenv(folder.first, QFile::encodeName(path(folder.second)));
    }
    QFile::setPermissions(path(QStringLiteral("runtime")),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    writeFile(path(QStringLiteral("config/user-dirs.dirs")),
              "XDG_DOCUMENTS_DIR=\"" + qgetenv("XDG_DOCUMENTS_DIR") + "\"\n");
    makeFolder(outputFolder());
    makeFolder(scriptFolder());

    const bool sessionBus = qEnvironmentVariableIsSet("REELKEEPER_TEST_SESSION_BUS");
    const QStringList names = QProcessEnvironment::systemEnvironment().keys();
    for (const QString &name : names) {
        if (name.startsWith(QLatin1String("REELKEEPER_")) &&
            name != QLatin1String("REELKEEPER_FFMPEG"))
            qunsetenv(name.toLatin1());
    }
    // No test may reach the services of the machine it runs on.
    const QByteArray nowhere = "unix:path=" + QFile::encodeName(path(QStringLiteral("no-bus")));
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", nowhere);
    if (!sessionBus)
        qputenv("DBUS_SESSION_BUS_ADDRESS", nowhere);
}

QString Sandbox::path(const QString &name) const
{
    return name.isEmpty() ? m_dir.path() : m_dir.filePath(name);
}

QString Sandbox::outputFolder() const
{
    return path(QStringLiteral("output/"));
}

QString Sandbox::scriptFolder() const
{
    return path(QStringLiteral("scripts/"));
}

void Sandbox::loadOptions(bool logging)
{
    Options::destroyInstance();
    {
        QSettings settings(QStringLiteral("Quarnitek"), QStringLiteral("Corvane Reelkeeper"));
        settings.setValue(QStringLiteral("Options/Output Folder"), outputFolder());
        settings.setValue(QStringLiteral("Options/JS Path"), scriptFolder());
        settings.setValue(QStringLiteral("Debug/Enable Logging"), logging);
        settings.sync();
    }
    Options::instance()->load();
}

QStringList Sandbox::logLines() const
{
    const QFileInfoList logs =
        QDir(QDir::tempPath())
            .entryInfoList({QStringLiteral("Corvane Reelkeeper-*.log")}, QDir::Files, QDir::Time);
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
