#pragma once

#include "videoinfo.h"

#include <QObject>
#include <QString>
#include <QVector>

// One site script on disk.
struct SiteScript
{
    QString path; // full path
    QString name; // file name, the key that hosts are matched with
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

    void loadScripts(); // from Options::jsPath
    const QVector<SiteScript> &scripts() const { return m_scripts; }
    // The first script whose name occurs in the host, or null.
    const SiteScript *matchHost(const QString &host) const;

    // Runs the site's scripts over the page text, in an engine of this run's own. Sets page
    // address, title, keyword, description and stream text.
    VideoInfo parsePage(const QString &pageUrl, const QString &pageText,
                        const QString &scriptPath) const;

private:
    QString m_scriptDirectory;
    QVector<SiteScript> m_scripts;
};

QString unescapeHtml(const QString &text);
