#pragma once

#include "videoinfo.h"

#include <QDialog>

#include <memory>

class AppInfo;
class CJSLib;
class Options;
class OutputProfileManager;
class QClipboard;

namespace Ui {
class dlgNewDownload;
}

// What the dialog works with; all of it outlives the dialog, and an analysis that is under way when
// the dialog is deleted.
struct NewDownloadSurroundings
{
    const Options &options;         // preselects the quality
    OutputProfileManager &profiles; // offers the choices and keeps them
    const CJSLib &scripts;
    const AppInfo &info; // tells whose addresses are offered, and which of them are secure
};

// Asks for a watch-page address, source quality and output format, and analyses the page.
// Accepted only when the analysis found streams.
class DlgNewDownload final : public QDialog
{
    Q_OBJECT
    Q_DISABLE_COPY(DlgNewDownload)

public:
    DlgNewDownload(const QString &url, const NewDownloadSurroundings &surroundings,
                   QWidget *parent = nullptr);
    ~DlgNewDownload() override;

    VideoInfo videoInfo() const; // meaningful once the dialog was accepted
    // A PageAnalysis::Result. Event loops run meanwhile, in which the dialog may be closed or
    // deleted: that ends the analysis.
    int analysePage(const QString &url);

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
    const NewDownloadSurroundings m_surroundings;
    VideoInfo m_videoInfo;
    QString m_reason;        // why the last analysis got no page; may be empty
    QClipboard *m_clipboard; // the application's
    bool m_pasteArmed = true;
    bool m_closed = false;
};
