#include "cjslib.h"

#include "instance.h"
#include "texts.h"
#include "trace.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QScriptEngine>
#include <QSet>
#include <QTextStream>
#include <QThread>
#include <QTimer>

namespace {
constexpr int stopCheckInterval = 50; // milliseconds

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
    ScriptRun(const QString &pageText, const ScriptTalk &talk)
        : m_talk(talk)
    {
        QScriptValue global = m_engine.globalObject();
        for (const char *name : {"print", "gc", "version"})
            global.setProperty(QLatin1String(name), QScriptValue());
        global.setProperty(QStringLiteral("strWebBuffer"), m_engine.newVariant(QVariant(pageText)));
        global.setProperty(QStringLiteral("alert"), m_engine.newFunction(alert, this));
        // A script that never ends must hold neither a window nor a thread that is asked to end.
        QObject::connect(&m_timer, &QTimer::timeout, &m_engine, [this] {
            if (isStopped())
                m_engine.abortEvaluation();
        });
        m_timer.start(stopCheckInterval);
        m_engine.setProcessEventsInterval(stopCheckInterval);
    }

    QString evaluate(const QString &path)
    {
        if (isStopped())
            return QString();
        if (m_talk.begun)
            m_talk.begun(path);
        // Only who listens needs the name, to be told where an exception came from.
        const QScriptValue value =
            m_engine.evaluate(readScript(path), m_talk.ended ? path : QString());
        ScriptEnd end;
        end.path = path;
        end.nothing = value.isUndefined() || value.isNull();
        noteException(&end);
        end.text = textOf(value);
        noteException(&end);
        if (m_talk.ended)
            m_talk.ended(end);
        return end.text;
    }

private:
    // The engine forgets it with the next evaluation.
    void noteException(ScriptEnd *end) const
    {
        if (!m_talk.ended || end->thrown || !m_engine.hasUncaughtException())
            return;
        static const QRegularExpression place(QStringLiteral(" at (.*):(\\d+)$"));
        // There is none of a file that cannot be parsed.
        const QRegularExpressionMatch match =
            place.match(m_engine.uncaughtExceptionBacktrace().value(0));
        end->thrown = true;
        end->thrownIn = match.hasMatch() ? match.captured(1) : end->path;
        end->thrownAt =
            match.hasMatch() ? match.captured(2).toInt() : m_engine.uncaughtExceptionLineNumber();
    }

    // An object says its text by a script, and only what evaluate() runs can be ended.
    QString textOf(const QScriptValue &value)
    {
        if (!value.isObject())
            return value.toString();
        QScriptValue scope = m_engine.pushContext()->activationObject();
        scope.setProperty(QStringLiteral("text"), m_text);
        scope.setProperty(QStringLiteral("value"), value);
        const QScriptValue text = m_engine.evaluate(QStringLiteral("text(value)"));
        m_engine.popContext();
        return text.isObject() ? QString() : text.toString();
    }

    bool isStopped()
    {
        m_stopped = m_stopped || QThread::currentThread()->isInterruptionRequested() ||
                    (m_talk.isStopped && m_talk.isStopped());
        return m_stopped;
    }

    static QScriptValue alert(QScriptContext *context, QScriptEngine *, void *self)
    {
        ScriptRun *run = static_cast<ScriptRun *>(self);
        const QString text = context->argument(0).toString();
        if (!run->m_talk.alert)
            TRACE() << "QAlert: " << text;
        else if (!run->isStopped())
            run->m_talk.alert(text);
        return QScriptValue(0);
    }

    const ScriptTalk &m_talk;
    QScriptEngine m_engine;
    const QScriptValue m_text = m_engine.evaluate(QStringLiteral("String")); // before any script
    QTimer m_timer;
    bool m_stopped = false;
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

void CJSLib::loadScripts(const QString &directory)
{
    m_scripts.clear();
    QString folder = directory;
    while (folder.size() > 1 &&
           (folder.endsWith(QLatin1Char('/')) || folder.endsWith(QDir::separator())))
        folder.chop(1);
    QSet<QString> visited;
    if (!folder.isEmpty())
        walk(folder, &m_scripts, &visited);
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
                            const QString &scriptPath, const ScriptTalk &talk) const
{
    VideoInfo info;
    ScriptRun run(pageText, talk);
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
