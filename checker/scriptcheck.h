#pragma once

#include "report.h"

#include "cjslib.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QString>

class OutputProfileManager;
struct SiteAccess;

// One run of a site's files over a saved page, told as it goes. After the limit it is ended, with
// the process when a single built-in function is at work; it may also bring down the process.
class ScriptCheck final
{
public:
    static constexpr int failed = 1; // the process's exit code then

    // limit: milliseconds for all files together.
    ScriptCheck(const QString &scriptPath, qint64 limit);

    // access: of the page, whose address may be empty. True when the page gives a stream and a
    // title and there is nothing to be mended.
    bool run(const QByteArray &page, const SiteAccess &access,
             const OutputProfileManager &profiles);

private:
    void tellName(const SiteAccess &access);
    VideoInfo runScripts(const QString &pageText, const QString &address);
    void tellBegin(const QString &path);
    void tellEnd(const ScriptEnd &end);
    void tellAlert(const QString &text);
    bool isOver();
    void tellStreams(const QString &streamText, const SiteAccess &access,
                     const OutputProfileManager &profiles);
    void tellTexts(const VideoInfo &info);

    const QString m_scriptPath;
    const qint64 m_limit;
    Report m_report;
    QElapsedTimer m_sinceStart;
    QString m_present; // the name of the file that runs
    bool m_readable = false;
    QElapsedTimer m_sinceBegin;
    int m_alerts = 0;
    bool m_over = false;
    bool m_streamsGiven = false; // by a script that ended well
    bool m_titleGiven = false;
};
