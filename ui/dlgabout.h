#pragma once

#include <QDialog>

#include <memory>

class AppInfo;

namespace Ui {
class aboutDialog;
}

// Version, build and the maker's addresses and notices.
class DlgAbout final : public QDialog
{
    Q_OBJECT
    Q_DISABLE_COPY(DlgAbout)

public:
    explicit DlgAbout(const AppInfo &info, QWidget *parent = nullptr);
    ~DlgAbout() override;

public slots:
    void onOK();

private:
    std::unique_ptr<Ui::aboutDialog> m_ui;
};
