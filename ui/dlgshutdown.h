#pragma once

#include <QDialog>
#include <QString>

#include <memory>

class QTimer;

namespace Ui {
class dlgShutdown;
}

// Counts 30 ticks down before the computer is shut down: accepted means shut it down, by the button
// or at the end of the count.
class DlgShutDown final : public QDialog
{
    Q_OBJECT
    Q_DISABLE_COPY(DlgShutDown)

public:
    explicit DlgShutDown(QWidget *parent = nullptr, int tickMilliseconds = 1000);
    ~DlgShutDown() override;

private slots:
    void onTimer();
    void onShutDown();
    void onCancel();

private:
    std::unique_ptr<Ui::dlgShutdown> m_ui;
    std::unique_ptr<QTimer> m_countdownTimer;
    QString m_remainTemplate;
    int m_remainSeconds = 30;
};
