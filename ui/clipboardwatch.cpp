#include "clipboardwatch.h"

#include "trace.h"

#include <QClipboard>
#include <QGuiApplication>

ClipboardWatch::ClipboardWatch(const QClipboard *clipboard, bool needsFocus)
    : m_clipboard(clipboard)
    , m_needsFocus(needsFocus)
{
}

bool ClipboardWatch::clipboardNeedsFocus()
{
    return QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

QString ClipboardWatch::newText()
{
    const QString text = m_clipboard->text(QClipboard::Clipboard);
    TRACE() << "Clipboard:" << text;
    const QString trimmed = text.trimmed();
    if (m_needsFocus && trimmed == m_lastText)
        return QString();
    // Without the focus the clipboard reads as empty, which is not a change.
    if (!trimmed.isEmpty())
        m_lastText = trimmed;
    return trimmed;
}

QString ClipboardWatch::changed()
{
    return newText();
}

QString ClipboardWatch::activated()
{
    return m_needsFocus ? newText() : QString();
}
