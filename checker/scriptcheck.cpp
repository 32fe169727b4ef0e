#include "scriptcheck.h"

#include "files.h"
#include "names.h"
#include "outputprofilemanager.h"
#include "pagetext.h"
#include "streamtable.h"
#include "watchdog.h"

#include <QFileInfo>
#include <QUrl>

#include <cstdlib>

namespace {
constexpr int mostAlerts = 100;
constexpr int grace = 1000; // milliseconds for a run to end itself
const QLatin1String errorMark("$Error:");
} // namespace

ScriptCheck::ScriptCheck(const QString &scriptPath, qint64 limit)
    : m_scriptPath(scriptPath)
    , m_limit(limit)
{
}

bool ScriptCheck::run(const QByteArray &page, const SiteAccess &access,
                      const OutputProfileManager &profiles)
{
    const QString text = decodePage(page, access.page);
    m_report.line(
        QStringLiteral("page: %1 bytes, %2 characters").arg(page.size()).arg(text.size()));
    tellName(access);
    const VideoInfo info = runScripts(text, access.page);
    if (m_over) {
        m_report.problem(QStringLiteral("%1 did not end within %2 s and was ended")
                             .arg(m_present)
                             .arg(double(m_limit) / 1000));
        return false;
    }
    tellStreams(info.streamText, access, profiles);
    tellTexts(info);
    return !m_report.failed();
}

void ScriptCheck::tellName(const SiteAccess &access)
{
    const QString name = QFileInfo(m_scriptPath).fileName();
    const QString problem = nameProblem(name);
    const QString host = QUrl(access.address).host();
    if (!problem.isEmpty())
        m_report.note(shown(name) + QStringLiteral(": ") + problem);
    if (!access.page.isEmpty() && !host.contains(name))
        m_report.problem(QStringLiteral("the script is not for this page: \"%1\" is not in \"%2\"")
                             .arg(name, host));
}

VideoInfo ScriptCheck::runScripts(const QString &pageText, const QString &address)
{
    ScriptTalk talk;
    talk.alert = [this](const QString &text) { tellAlert(text); };
    talk.isStopped = [this] { return isOver(); };
    talk.begun = [this](const QString &path) { tellBegin(path); };
    talk.ended = [this](const ScriptEnd &end) { tellEnd(end); };
    const Watchdog watchdog(std::chrono::milliseconds(m_limit + grace), [this] {
        Report().problem(QStringLiteral("the script did not end within %1 s and could not be "
                                        "ended: a single built-in function, or a recursion")
                             .arg(double(m_limit) / 1000));
        std::_Exit(failed);
    });
    m_sinceStart.start();
    return CJSLib().parsePage(address, pageText, m_scriptPath, talk);
}

void ScriptCheck::tellBegin(const QString &path)
{
    m_present = shown(QFileInfo(path).fileName());
    m_report.line(QStringLiteral("run ") + m_present);
    QString why;
    const QByteArray bytes = readUsable(path, &why);
    m_readable = why.isEmpty();
    if (!m_readable)
        m_report.detail(why);
    if (const int line = lineBeyondAscii(bytes))
        m_report.note(
            QStringLiteral("line %1 is not ASCII: it reads differently elsewhere").arg(line));
    m_sinceBegin.start();
}

void ScriptCheck::tellEnd(const ScriptEnd &end)
{
    const qint64 milliseconds = m_sinceBegin.elapsed();
    if (m_over)
        return; // what it threw is our end of it
    if (m_readable)
        m_report.detail(QStringLiteral("took %1 ms").arg(milliseconds));
    if (end.thrown)
        m_report.problem(QStringLiteral("an exception in %1, line %2: %3")
                             .arg(QFileInfo(end.thrownIn).fileName(), QString::number(end.thrownAt),
                                  shown(end.text)));
    const bool given = !end.thrown && !end.nothing;
    if (end.path == m_scriptPath)
        m_streamsGiven = given;
    else if (end.path == m_scriptPath + companionSuffixes.first())
        m_titleGiven = given;
}

// In the program a person sees it and closes it.
void ScriptCheck::tellAlert(const QString &text)
{
    ++m_alerts;
    if (m_alerts <= mostAlerts)
        m_report.detail(QStringLiteral("alert: ") + shown(text));
    else if (m_alerts == mostAlerts + 1)
        m_report.detail(QStringLiteral("alert: more than %1").arg(mostAlerts));
}

bool ScriptCheck::isOver()
{
    m_over = m_over || m_sinceStart.elapsed() >= m_limit;
    return m_over;
}

void ScriptCheck::tellStreams(const QString &streamText, const SiteAccess &access,
                              const OutputProfileManager &profiles)
{
    if (!m_streamsGiven)
        return m_report.problem(QStringLiteral("there is no list of streams"));
    if (streamText.startsWith(errorMark))
        return m_report.problem(QStringLiteral("the script finds no video: ") +
                                shown(streamText.mid(errorMark.size())));
    if (streamText.isEmpty())
        return m_report.problem(QStringLiteral("the script finds no video and does not say why"));
    StreamTable table(m_report, access);
    table.read(streamText);
    if (table.isEmpty())
        m_report.problem(QStringLiteral("no record can be used"));
    else
        table.tellQualities(profiles);
}

void ScriptCheck::tellTexts(const VideoInfo &info)
{
    m_report.line(QStringLiteral("title: ") + shown(info.title));
    if (m_titleGiven && !info.title.trimmed().isEmpty())
        m_report.line(QStringLiteral("file name: ") + nameFromTitle(info.title));
    else
        m_report.problem(QStringLiteral("no title"));
    m_report.line(QStringLiteral("keywords: ") + shown(info.keyword));
    m_report.line(QStringLiteral("description: ") + shown(info.description));
}
