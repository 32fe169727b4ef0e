#include "cjslib.h"

#include "instance.h"
#include "options.h"
#include "texts.h"
#include "trace.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMessageBox>
#include <QScriptEngine>
#include <QSet>
#include <QTextStream>
#include <QThread>
#include <QTimer>

namespace {
constexpr int interruptionCheckInterval = 50; // milliseconds

bool onUserInterfaceThread()
{
    const QCoreApplication *application = QCoreApplication::instance();
    return application && QThread::currentThread() == application->thread();
}

// The alert() of site scripts. Only the user-interface thread may show a box.
QScriptValue scriptAlert(QScriptContext *context, QScriptEngine *)
{
    const QString text = context->argument(0).toString();
    if (onUserInterfaceThread()) {
        QMessageBox box(QMessageBox::Warning, QStringLiteral("QAlert"), text, QMessageBox::Yes);
        box.setAttribute(Qt::WA_QuitOnClose, false);
        box.exec();
    } else {
        TRACE() << "QAlert: " << text;
    }
    return QScriptValue(0);
}

QString readScript(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    QTextStream stream(&file);
    return stream.readAll();
}

void walk(const QString &directory, QVector<SiteScript> *scripts, QSet<QString> *visited)
{
    // A link to a folder further up would never end.
    const QString canonical = QFileInfo(directory).canonicalFilePath();
    if (canonical.isEmpty() || visited->contains(canonical))
        return;
    visited->insert(canonical);
    const QFileInfoList entries = QDir(directory).entryInfoList(
        QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name | QDir::DirsFirst);
    for (const QFileInfo &entry : entries) {
        const QString path = directory + QDir::separator() + entry.fileName();
        if (entry.isDir())
            walk(path, scripts, visited);
        else if (!entry.fileName().contains(QLatin1Char('_')))
            scripts->append({path, entry.fileName()});
    }
}

// One run's engine with the two globals that scripts are promised.
class ScriptRun final
{
public:
    explicit ScriptRun(const QString &pageText)
    {
        QScriptValue global = m_engine.globalObject();
        for (const char *name : {"print", "gc", "version"})
            global.setProperty(QLatin1String(name), QScriptValue());
        global.setProperty(QStringLiteral("strWebBuffer"), m_engine.newVariant(QVariant(pageText)));
        global.setProperty(QStringLiteral("alert"), m_engine.newFunction(scriptAlert, 0));
        if (!onUserInterfaceThread())
            watchInterruption();
    }

    QString evaluate(const QString &path)
    {
        if (QThread::currentThread()->isInterruptionRequested())
            return QString();
        return m_engine.evaluate(readScript(path)).toString();
    }

private:
    // A script that never ends must not keep a transfer thread that was asked to end.
    void watchInterruption()
    {
        QObject::connect(&m_timer, &QTimer::timeout, &m_engine, [this] {
            if (QThread::currentThread()->isInterruptionRequested())
                m_engine.abortEvaluation();
        });
        m_timer.start(interruptionCheckInterval);
        m_engine.setProcessEventsInterval(interruptionCheckInterval);
    }

    QScriptEngine m_engine;
    QTimer m_timer;
};
} // namespace

CJSLib::CJSLib() = default;

CJSLib *CJSLib::instance()
{
    return ProcessInstance<CJSLib>::get();
}

void CJSLib::destroyInstance()
{
    ProcessInstance<CJSLib>::destroy();
}

void CJSLib::loadScripts()
{
    m_scriptDirectory = Options::instance()->jsPath;
    m_scripts.clear();
    QString directory = m_scriptDirectory;
    while (directory.size() > 1 &&
           (directory.endsWith(QLatin1Char('/')) || directory.endsWith(QDir::separator())))
        directory.chop(1);
    QSet<QString> visited;
    if (!directory.isEmpty())
        walk(directory, &m_scripts, &visited);
}

const SiteScript *CJSLib::matchHost(const QString &host) const
{
    for (const SiteScript &script : m_scripts) {
        if (host.contains(script.name))
            return &script;
    }
    return nullptr;
}

VideoInfo CJSLib::parsePage(const QString &pageUrl, const QString &pageText,
                            const QString &scriptPath) const
{
    VideoInfo info;
    ScriptRun run(pageText);
    info.streamText = run.evaluate(scriptPath);
    info.title = unescapeHtml(run.evaluate(scriptPath + QStringLiteral("_title")));
    info.keyword = unescapeHtml(run.evaluate(scriptPath + QStringLiteral("_keyword")));
    info.description = unescapeHtml(run.evaluate(scriptPath + QStringLiteral("_description")));
    info.pageUrl = pageUrl;
    return info;
}

QString unescapeHtml(const QString &text)
{
    static const struct
    {
        QString entity;
        QString character;
    } table[] = {
        {QStringLiteral("&quot;"), QStringLiteral("\"")},
        {QStringLiteral("&#39;"), QStringLiteral("'")},
        {QStringLiteral("&amp;"), QStringLiteral("&")},
        {QStringLiteral("&lt;"), QStringLiteral("<")},
        {QStringLiteral("&gt;"), QStringLiteral(">")},
        {QStringLiteral("&nbsp;"), QStringLiteral(" ")},
    };
    QString result = text;
    for (const auto &row : table)
        result = replaceAll(result, row.entity, row.character);
    return result;
}
