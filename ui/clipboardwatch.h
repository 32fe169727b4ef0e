#pragma once

#include <QString>

class QClipboard;

// Reads the clipboard for the main window. Where a program sees the clipboard only while it has the
// focus, a change is told again with every activation: a text is then handed out only once.
class ClipboardWatch final
{
public:
    explicit ClipboardWatch(const QClipboard *clipboard, bool needsFocus = clipboardNeedsFocus());

    // The trimmed text to look at, empty when there is nothing new.
    QString changed();   // the clipboard told of a change
    QString activated(); // the window got the focus

private:
    static bool clipboardNeedsFocus();
    QString newText();

    const QClipboard *m_clipboard; // the application's
    bool m_needsFocus;
    QString m_lastText;
};
