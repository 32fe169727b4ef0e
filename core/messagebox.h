#pragma once

#include <QByteArray>
#include <QMessageBox>
#include <QString>

// The window that message boxes belong to; null forgets it. Not owned.
void setMainWindow(QWidget *window);
// Runs a modal message box; an empty title stands for the product's name.
QMessageBox::StandardButton showMessageBox(QMessageBox::Icon icon, const QString &title,
                                           const QString &text,
                                           QMessageBox::StandardButtons buttons,
                                           QMessageBox::StandardButton defaultButton);
// Always true; a null window is accepted. token: of the desktop's start or activation that wants
// the window, empty when there is none.
bool bringToFront(QWidget *window, const QByteArray &token = QByteArray());
// For a form whose texts are there: it keeps its size, its texts get smaller until they fit, and
// closing it never ends the program.
void setFixedDialogFlags(QWidget *dialog);
void setFramelessDialogFlags(QWidget *dialog);
