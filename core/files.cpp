#include "files.h"

#include "platform.h"
#include "texts.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

static const QString &forbiddenCharacters()
{
    static const QString characters = QStringLiteral("\\/:*?\"<>|") + QChar(0) + QLatin1Char('\'');
    return characters;
}

bool ensureDir(const QString &path)
{
    return !path.isEmpty() && (QDir(path).exists() || QDir().mkpath(path));
}

bool openFolder(const QString &path)
{
    return platform::openFolder(path);
}

bool openFile(const QString &path)
{
    if (platform::openFile(path) == platform::OpenResult::NoProgram)
        return platform::chooseProgramFor(path);
    return true;
}

bool browseFolder(QWidget *parent, const QString &initialPath, QString *chosen)
{
    return platform::browseFolder(
        parent, QCoreApplication::translate("browseFolder", "Please select a new folder:"),
        initialPath, chosen);
}

bool isFolderWritable(const QString &path)
{
    if (path.isEmpty() || !QDir(path).exists())
        return false;
    QString probeName = path;
    ensureTrailingSeparator(probeName);
    probeName += newGuidText() + QStringLiteral(".txt");
    QFile probe(probeName);
    if (!probe.open(QIODevice::WriteOnly))
        return false;
    probe.close();
    probe.remove();
    return true;
}

qint64 fileSize(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.size() : 0;
}

QString absolutePathOf(const QString &file)
{
    return QFileInfo(file).absolutePath();
}

QString suffixOf(const QString &file)
{
    return QFileInfo(file).suffix();
}

QString renamedPath(const QString &file, const QString &newBaseName)
{
    QString folder = QDir::toNativeSeparators(absolutePathOf(file));
    ensureTrailingSeparator(folder);
    return folder + newBaseName + QLatin1Char('.') + suffixOf(file);
}

bool isValidFileName(const QString &name)
{
    return sanitizeFileName(name) == name && !name.startsWith(QLatin1Char('.'));
}

QString sanitizeFileName(const QString &name)
{
    QString result = name;
    for (QChar &character : result) {
        if (forbiddenCharacters().contains(character))
            character = QLatin1Char('_');
    }
    return result;
}

QString nameFromTitle(const QString &title)
{
    // A page may say anything: what no file name holds is nothing to show or to hand to a program.
    constexpr int longestTitle = 255;
    QString name = sanitizeFileName(title.left(longestTitle));
    if (name.size() == longestTitle && name.at(longestTitle - 1).isHighSurrogate())
        name.chop(1);
    for (int i = 0; i < name.size() && name.at(i) == QLatin1Char('.'); ++i)
        name[i] = QLatin1Char('_');
    return name.trimmed().isEmpty() ? QStringLiteral("video") : name;
}

void ensureTrailingSeparator(QString &path)
{
    if (!path.endsWith(QDir::separator()))
        path += QDir::separator();
}

QString fittingBaseName(const QString &baseName, const QString &suffix)
{
    constexpr int longestName = 255;
    int room = longestName - QFile::encodeName(suffix).size();
    int end = 0;
    while (end < baseName.size()) {
        const bool isPair = baseName.at(end).isHighSurrogate() && end + 1 < baseName.size() &&
                            baseName.at(end + 1).isLowSurrogate();
        const int length = isPair ? 2 : 1;
        room -= QFile::encodeName(baseName.mid(end, length)).size();
        if (room < 0)
            break;
        end += length;
    }
    return baseName.left(end);
}
