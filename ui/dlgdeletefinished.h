#pragma once

#include <QDialog>

#include <memory>

class Options;

namespace Ui {
class dlgFinishedDelete;
}

// Asks before finished videos leave the list, and whether their files go with them. Yes writes the
// answer into Options::deleteFinishedVideo.
class DlgDeleteFinished final : public QDialog
{
    Q_OBJECT
    Q_DISABLE_COPY(DlgDeleteFinished)

public:
    explicit DlgDeleteFinished(Options &options, QWidget *parent = nullptr);
    ~DlgDeleteFinished() override;

public slots:
    void onYes();

private:
    Options &m_options;
    std::unique_ptr<Ui::dlgFinishedDelete> m_ui;
};
