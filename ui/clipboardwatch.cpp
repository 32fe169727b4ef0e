#include "clipboardwatch.h"

#include "appinfo.h"
#include "options.h"
#include "trace.h"

#include <QClipboard>
#include <QMimeData>
#include <QUrl>

#include <utility>

ClipboardWatch::ClipboardWatch(const QClipboard &clipboard, Rules rules, bool needsFocus)
    : m_clipboard(clipboard)
    , m_rules(std::move(rules))
    , m_needsFocus(needsFocus)
{
}

void ClipboardWatch::changed()
{
    look();
}

void ClipboardWatch::activated()
{
    if (m_needsFocus)
        look();
}

void ClipboardWatch::look()
{
    const QString text = m_clipboard.text(QClipboard::Clipboard);
    TRACE() << "Clipboard:" << text;
    const QString trimmed = text.trimmed();
    // Without the focus the clipboard reads as empty, which is not a change.
    if (m_needsFocus && (trimmed.isEmpty() || trimmed == m_lastText))
        return;
    m_lastText = trimmed;
    judge(trimmed);
}

void ClipboardWatch::judge(const QString &text)
{
    const Moment moment = m_rules.moment();
    m_kept = moment == Moment::Keep ? text : QString();
    if (moment == Moment::Offer && m_rules.options.autoOpenNew && isAddress(text))
        m_rules.offer(text);
}

bool ClipboardWatch::isAddress(const QString &text) const
{
    return !text.isEmpty() && m_rules.info.isSupportedUrl(text);
}

QString ClipboardWatch::addressIn(const QMimeData &data) const
{
    QStringList candidates;
    for (const QUrl &url : data.urls())
        candidates += url.toString(QUrl::FullyEncoded);
    candidates += data.text().trimmed();
    for (const QString &candidate : std::as_const(candidates)) {
        if (isAddress(candidate))
            return candidate;
    }
    return QString();
}

void ClipboardWatch::offerKept()
{
    judge(std::exchange(m_kept, QString()));
}
