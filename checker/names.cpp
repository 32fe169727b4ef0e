#include "names.h"

#include "simpledownload.h"

#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <algorithm>

const QStringList companionSuffixes = {QStringLiteral("_title"), QStringLiteral("_keyword"),
                                       QStringLiteral("_description")};

QString scriptOfCompanion(const QString &name)
{
    for (const QString &suffix : companionSuffixes) {
        if (name.endsWith(suffix))
            return name.chopped(suffix.size());
    }
    return QString();
}

QString nameProblem(const QString &name)
{
    const QLatin1String label(name.startsWith(QLatin1Char('.')) ? "www" : "");
    const QString host = QUrl(QStringLiteral("http://") + label + name).host();
    if (name.contains(QLatin1Char('_')))
        return QStringLiteral("the name of a script has no _, which tells companions from scripts");
    if (!host.contains(name))
        return QStringLiteral("no host has this name in it: a name is made of small letters, "
                              "digits, dots and hyphens, and xn-- is read as what it stands for");
    return QString();
}

int lineBeyondAscii(const QByteArray &bytes)
{
    const auto found =
        std::find_if(bytes.begin(), bytes.end(), [](char c) { return (c & 0x80) != 0; });
    return found == bytes.end() ? 0 : int(std::count(bytes.begin(), found, '\n')) + 1;
}

QByteArray readUsable(const QString &path, QString *why)
{
    QFile file(path);
    if (!QFileInfo::exists(path))
        *why = QStringLiteral("is not there");
    else if (!QFileInfo(path).isFile())
        *why = QStringLiteral("is no file");
    else if (file.size() > SimpleDownload::largestFile)
        *why = QStringLiteral("has more than 16 MiB");
    else if (!file.open(QIODevice::ReadOnly))
        *why = QStringLiteral("cannot be read: ") + file.errorString();
    else if (file.size() == 0)
        *why = QStringLiteral("is empty");
    else
        return file.readAll();
    return QByteArray();
}
