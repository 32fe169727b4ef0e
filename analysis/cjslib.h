#pragma once

#include "videoinfo.h"

#include <QObject>
#include <QString>
#include <QVector>

#include <functional>

// One site script on disk.
struct SiteScript
{
    QString path; // full path
    QString name; // file name, the key that hosts are matched with
};

// How the run of one of a site's files ended.
struct ScriptEnd
{
    QString path;
    QString text;         // what it gave
    bool nothing = false; // the last statement gave undefined or null
    bool thrown = false;  // what was thrown, and not caught, takes the place of the value
    QString thrownIn;     // the file that threw, and the line of it
    int thrownAt = 0;
};

// What scripts and whoever runs them have to say to each other. All are called on the thread of
// the run, while it lasts.
struct ScriptTalk
{
    // Shows the text that a script hands to alert(), and returns when it has been seen. Without
    // one the text goes to the debug channel.
    std::function<void(const QString &)> alert;
    // Asked several times a second, between a script's steps: true ends the run.
    std::function<bool()> isStopped;
    // Told before and after each file, for whoever tries a script. What is stopped ends as well.
    std::function<void(const QString &)> begun = nullptr;
    std::function<void(const ScriptEnd &)> ended = nullptr;
};

// The list of site scripts and the host that runs them. The list is built once on the
// user-interface thread and only read afterwards, so matchHost and parsePage may then be called
// from any thread.
class CJSLib final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(CJSLib)

public:
    CJSLib();
    static CJSLib *instance();
    static void destroyInstance();

    void loadScripts(const QString &directory);
    const QVector<SiteScript> &scripts() const { return m_scripts; }
    // The first script whose name occurs in the host, or null.
    const SiteScript *matchHost(const QString &host) const;

    // Runs the site's scripts over the page text, in an engine of this run's own. Sets page
    // address, title, keyword, description and stream text. The thread's events are delivered
    // meanwhile; what was not read when the run is stopped, or the thread interrupted, is empty.
    VideoInfo parsePage(const QString &pageUrl, const QString &pageText, const QString &scriptPath,
                        const ScriptTalk &talk = ScriptTalk()) const;

private:
    QVector<SiteScript> m_scripts;
};

QString unescapeHtml(const QString &text);
