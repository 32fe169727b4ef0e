#pragma once

#include "videoinfo.h"

#include <QDialog>

#include <memory>

class QClipboard;

namespace Ui {
class dlgNewDownload;
}

// Asks for a watch-page address, source quality and output format, and analyses the page.
// Accepted only when the analysis found streams.
class DlgNewDownload final : public QDialog
{
    Q_OBJECT
    Q_DISABLE_COPY(DlgNewDownload)

public:
    explicit DlgNewDownload(const QString &url, QWidget *parent = nullptr);
    ~DlgNewDownload() override;

    VideoInfo videoInfo() const;         // meaningful once the dialog was accepted
    int analysePage(const QString &url); // a PageAnalysis::Result

public slots:
    void onDownload();
    void onMouseMoveIn();
    void onMouseMoveLeave();
    void onURLChange(QString text);

protected:
    bool event(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void setUpForm();
    void setAddress(const QString &text);
    void fillChoices();
    void applySelection();
    void showMessage(const QString &text);

    std::unique_ptr<Ui::dlgNewDownload> m_ui;
    VideoInfo m_videoInfo;
    QClipboard *m_clipboard; // the application's
    bool m_pasteArmed = true;
    bool m_closed = false;
};
