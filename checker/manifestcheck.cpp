#include "manifestcheck.h"

#include "cjslib.h"
#include "names.h"
#include "options.h"

#include <QDir>
#include <QDirIterator>
#include <QDomDocument>
#include <QFileInfo>
#include <QRegularExpression>

namespace {
const QLatin1String manifestName("Profile.xml");

} // namespace

ManifestCheck::ManifestCheck(const QString &folder)
    : m_folder(QDir(folder).absolutePath() + QLatin1Char('/'))
{
}

bool ManifestCheck::run()
{
    QString why;
    const QByteArray xml = readUsable(m_folder + manifestName, &why);
    if (!why.isEmpty() || m_profile.read(xml) != SiteProfile::NoError) {
        m_report.problem(QStringLiteral("%1: %2").arg(
            manifestName, why.isEmpty() ? shown(m_profile.errorText()) : why));
        return false;
    }
    for (const SiteDomain &domain : qAsConst(m_profile.domains)) {
        for (const ScriptFileEntry &entry : domain.files)
            m_names.append(entry.name);
    }
    if (m_names.isEmpty())
        m_report.problem(QStringLiteral("no sites element: nothing would be fetched"));
    for (const QString &name : qAsConst(m_names))
        tellFile(name);
    tellServer(xml);
    CJSLib scripts;
    scripts.loadScripts(m_folder);
    for (const QString &name : qAsConst(m_names))
        tellName(name, scripts);
    tellUnlisted();
    m_report.line(QStringLiteral("version %1, %2 domains, %3 files, %4 bytes")
                      .arg(m_profile.version)
                      .arg(m_profile.domains.size())
                      .arg(m_names.size())
                      .arg(m_size));
    return !m_report.failed();
}

void ManifestCheck::tellServer(const QByteArray &xml)
{
    QDomDocument document;
    document.setContent(xml);
    const QDomElement js = document.documentElement().lastChildElement(QStringLiteral("js"));
    if (!js.previousSiblingElement(QStringLiteral("js")).isNull())
        m_report.problem(QStringLiteral("there are several js elements, and the last one counts"));
    bool isNumber = false;
    js.attribute(QStringLiteral("version")).toInt(&isNumber);
    if (!isNumber)
        m_report.problem(QStringLiteral("version is no whole number and is read as 0"));
    if (m_profile.version == Options::firstJsVersion)
        m_report.problem(QStringLiteral("version %1 is what a new installation has: files of these "
                                        "names that lie there are not replaced")
                             .arg(m_profile.version));
    if (m_profile.size != m_size)
        m_report.problem(
            QStringLiteral("size is %1, the files have %2 bytes").arg(m_profile.size).arg(m_size));
    static const QRegularExpression address(QStringLiteral("^https?://[^/?#]+/([^?#]*/)?$"));
    if (!address.match(m_profile.serverPath).hasMatch())
        m_report.problem(QStringLiteral("path is no address of a folder with / at its end: ") +
                         shown(m_profile.serverPath));
}

void ManifestCheck::tellFile(const QString &name)
{
    QString why;
    const QByteArray bytes = readUsable(m_folder + name, &why);
    m_size += bytes.size();
    if (!why.isEmpty())
        m_report.problem(shown(name) + QLatin1Char(' ') + why);
    if (const int line = lineBeyondAscii(bytes))
        m_report.problem(QStringLiteral("%1, line %2 is not ASCII: it reads differently elsewhere")
                             .arg(shown(name))
                             .arg(line));
}

void ManifestCheck::tellName(const QString &name, const CJSLib &scripts)
{
    const QString start = shown(name) + QStringLiteral(": ");
    if (m_names.count(name) > 1)
        m_report.problem(start + QStringLiteral("listed more than once"));
    const QString owner = scriptOfCompanion(name);
    if (!owner.isEmpty()) {
        if (!m_names.contains(owner))
            m_report.problem(start + QStringLiteral("its script is not listed"));
        return;
    }
    const QString file = QFileInfo(name).fileName();
    const QString problem = nameProblem(file);
    const SiteScript *first = scripts.matchHost(file);
    if (!problem.isEmpty())
        m_report.problem(start + problem);
    else if (!first && QFileInfo::exists(m_folder + name))
        m_report.problem(start + QStringLiteral("never used, hidden files are no scripts"));
    else if (first && first->path != m_folder + name)
        m_report.problem(start + QStringLiteral("never used, %1 is found first in every such host")
                                     .arg(shown(first->path.mid(m_folder.size()))));
    if (!m_names.contains(name + companionSuffixes.first()))
        m_report.problem(start + QStringLiteral("no %1, so each video is called undefined")
                                     .arg(companionSuffixes.first()));
}

void ManifestCheck::tellUnlisted()
{
    QDirIterator files(m_folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString name = files.next().mid(m_folder.size());
        if (name != manifestName && !m_names.contains(name))
            m_report.problem(shown(name) + QStringLiteral(": no entry lists it"));
    }
}
