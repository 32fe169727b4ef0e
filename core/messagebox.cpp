#include "messagebox.h"

#include "fittexts.h"
#include "platform.h"
#include "product.h"

#include <QPointer>

static QPointer<QWidget> &mainWindow()
{
    static QPointer<QWidget> window;
    return window;
}

void setMainWindow(QWidget *window)
{
    mainWindow() = window;
}

QMessageBox::StandardButton showMessageBox(QMessageBox::Icon icon, const QString &title,
                                           const QString &text,
                                           QMessageBox::StandardButtons buttons,
                                           QMessageBox::StandardButton defaultButton)
{
    QMessageBox box(mainWindow());
    box.setWindowTitle(title.isEmpty() ? product::name() : title);
    box.setIcon(icon);
    // Titles of videos and names of files are no markup.
    box.setTextFormat(Qt::PlainText);
    box.setText(text);
    box.setStandardButtons(buttons);
    box.setDefaultButton(defaultButton);
    box.setAttribute(Qt::WA_QuitOnClose, false);
    return static_cast<QMessageBox::StandardButton>(box.exec());
}

bool bringToFront(QWidget *window, const QByteArray &token)
{
    if (window)
        platform::activateWindow(window, token);
    return true;
}

void setFixedDialogFlags(QWidget *dialog)
{
    dialog->setWindowFlags(Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint | Qt::WindowTitleHint);
    dialog->setAttribute(Qt::WA_QuitOnClose, false);
    // The hint alone is for one system's window manager.
    dialog->setFixedSize(dialog->size());
    fitTexts(dialog);
}

void setFramelessDialogFlags(QWidget *dialog)
{
    dialog->setWindowFlags(Qt::Dialog | Qt::FramelessWindowHint);
}
