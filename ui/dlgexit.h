#pragma once

#include <QDialog>

#include <memory>

namespace Ui {
class dlgExit;
}

// Asks whether to exit although downloads are unfinished: accepted means exit.
class DlgExit final : public QDialog
{
    Q_OBJECT
    Q_DISABLE_COPY(DlgExit)

public:
    explicit DlgExit(QWidget *parent = nullptr);
    ~DlgExit() override;

private slots:
    void onExit();

private:
    std::unique_ptr<Ui::dlgExit> m_ui;
};
