#pragma once

#include <QDialog>

#include <memory>

namespace Ui {
class dlgUpdating;
}

// Brings the site scripts up to date at every start. Runs the check by itself once it is shown:
// accepted when the scripts are up to date, rejected when a download failed.
class QDlgUpdate final : public QDialog
{
    Q_OBJECT
    Q_DISABLE_COPY(QDlgUpdate)

public:
    explicit QDlgUpdate(QWidget *parent = nullptr);
    ~QDlgUpdate() override;

public slots:
    void Check();
    void ShowMessage(QString strText);
    void Finished(int nRe);

private:
    bool download(const QString &url, const QString &path);

    std::unique_ptr<Ui::dlgUpdating> m_ui;
    bool m_closed = false;
};
