#pragma once

#include <QDialog>

#include <memory>

class Options;

namespace Ui {
class dlgExit;
}

// Asks whether to exit although downloads are unfinished: accepted means exit.
class DlgExit final : public QDialog
{
    Q_OBJECT
    Q_DISABLE_COPY(DlgExit)

public:
    explicit DlgExit(Options &options, QWidget *parent = nullptr);
    ~DlgExit() override;

private slots:
    void onExit();

private:
    Options &m_options;
    std::unique_ptr<Ui::dlgExit> m_ui;
};
