#pragma once

#include "platform.h"

#include <QString>

#include <functional>

class AppInfo;
class Options;
class QClipboard;
class QMimeData;

// Decides which copied text is an address to offer a download for. Where a program sees the
// clipboard only while it has the focus, a change is told again with every activation: a text is
// then looked at only once.
class ClipboardWatch final
{
public:
    // What becomes of an address that is copied now.
    enum class Moment {
        Offer,
        Keep, // until offerKept()
        Drop,
    };
    struct Rules
    {
        const AppInfo &info;
        const Options &options;
        std::function<Moment()> moment;
        std::function<void(const QString &address)> offer;
    };
    ClipboardWatch(const QClipboard &clipboard, Rules rules,
                   bool needsFocus = platform::clipboardNeedsFocus());

    void changed();   // the clipboard told of a change
    void activated(); // the window got the focus
    void offerKept(); // what was copied last while addresses were kept

    // By the same rule, for what the person hands over: the address in it; empty: none.
    QString addressIn(const QMimeData &data) const;

private:
    void look();
    void judge(const QString &text);
    bool isAddress(const QString &text) const;

    const QClipboard &m_clipboard; // the application's
    const Rules m_rules;
    const bool m_needsFocus;
    QString m_lastText;
    QString m_kept;
};
