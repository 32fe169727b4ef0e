#pragma once

#include <QDialog>

#include <memory>

class Options;

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
    // The options, which outlive the check, say what is installed and where; the address is the
    // manifest's. The shipped scripts are taken where there are no others and none can be fetched;
    // without their folder nothing is.
    QDlgUpdate(Options &options, const QString &manifestAddress,
               const QString &shippedScripts = QString(), QWidget *parent = nullptr);
    ~QDlgUpdate() override;

public slots:
    void Check();
    void ShowMessage(QString strText);
    void Finished(int nRe);

private:
    int download(const QString &url, const QString &path);

    std::unique_ptr<Ui::dlgUpdating> m_ui;
    Options &m_options;
    const QString m_manifestAddress;
    const QString m_shippedScripts;
    bool m_closed = false;
};
