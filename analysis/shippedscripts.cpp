#include "shippedscripts.h"

#include "files.h"
#include "siteprofile.h"

#include <QDir>
#include <QFile>
#include <QVector>

namespace {
const QLatin1String temporarySuffix("_temp"); // as downloads have it: no script is named so

struct ScriptFile
{
    QString path; // below the script folder
    QByteArray bytes;
};

// The files of the whole set; the address that the profile's files are fetched from is the folder.
QString readAll(const SiteProfile &profile, const QString &scriptFolder, QVector<ScriptFile> *files)
{
    QString problem;
    qint64 size = 0;
    profile.downloadScripts(scriptFolder, [&](const QString &source, const QString &target) {
        QFile file(source);
        const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        if (bytes.isEmpty())
            problem = QStringLiteral("\"%1\" is missing or empty.").arg(source);
        size += bytes.size();
        files->append({target, bytes});
        return !bytes.isEmpty();
    });
    if (problem.isEmpty() && size != profile.size)
        problem = QStringLiteral("\"%1\" has %2 bytes instead of %3.")
                      .arg(profile.serverPath)
                      .arg(size)
                      .arg(profile.size);
    return problem;
}

bool writeBeside(const ScriptFile &script)
{
    QFile file(script.path + temporarySuffix);
    return ensureDir(absolutePathOf(script.path)) && file.open(QIODevice::WriteOnly) &&
           file.write(script.bytes) == script.bytes.size() && file.flush();
}

bool putInPlace(const ScriptFile &script)
{
    return (!QFile::exists(script.path) || QFile::remove(script.path)) &&
           QFile::rename(script.path + temporarySuffix, script.path);
}
} // namespace

ShippedScripts::ShippedScripts(const QString &folder)
    : m_folder(folder + QLatin1Char('/'))
{
}

bool ShippedScripts::isNeeded(const QString &scriptFolder)
{
    const QStringList entries =
        QDir(scriptFolder).entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &name : entries) {
        // What an update leaves behind that was not finished.
        if (name != QLatin1String("Profile.xml") && !name.endsWith(temporarySuffix))
            return false;
    }
    return true;
}

ShippedScripts::Result ShippedScripts::putInto(const QString &scriptFolder) const
{
    Result result;
    SiteProfile profile;
    const QString manifest = m_folder + QStringLiteral("Profile.xml");
    if (const int error = profile.read(manifest)) {
        result.problem = QStringLiteral("file \"%1\", code %2.").arg(manifest).arg(error);
        return result;
    }
    profile.serverPath = m_folder;
    QVector<ScriptFile> files;
    result.problem = readAll(profile, scriptFolder, &files);
    if (!result.problem.isEmpty())
        return result;

    // A set that is there in part would pass for one that is there.
    bool done = true;
    for (int i = 0; i < files.size() && done; ++i)
        done = writeBeside(files.at(i));
    for (int i = 0; i < files.size() && done; ++i)
        done = putInPlace(files.at(i));
    if (!done) {
        for (const ScriptFile &file : files) {
            QFile::remove(file.path + temporarySuffix);
            QFile::remove(file.path);
        }
        result.problem = QStringLiteral("\"%1\" cannot be written.").arg(scriptFolder);
    }
    result.version = profile.version;
    return result;
}
