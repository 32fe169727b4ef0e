#pragma once

#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <functional>

// The person in front of modal dialogs: acts once on every dialog of the class that comes up, for
// as long as it lives. Other dialogs are closed, so that no test waits for ever.
class ModalDriver
{
public:
    using Action = std::function<void(QWidget *dialog)>;

    explicit ModalDriver(const char *className, const Action &action = close);
    int seen() const { return m_seen; }

    static void close(QWidget *dialog) { dialog->close(); }
    static Action press(const QString &button); // by object name, or by text without mnemonic

private:
    void look();

    const char *m_className;
    Action m_action;
    QTimer m_timer;
    QPointer<QWidget> m_last;
    int m_seen = 0;
};
