#include "dlgshutdown.h"

#include "messagebox.h"
#include "ui_dlgshutdown.h"

#include <QTimer>

DlgShutDown::DlgShutDown(QWidget *parent, int tickMilliseconds)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::dlgShutdown>())
    , m_countdownTimer(std::make_unique<QTimer>())
    , m_remainTemplate(tr("You computer will be shut down in %1 seconds .\n"
                          "Please save all works in progress."))
{
    m_ui->setupUi(this);
    setFixedDialogFlags(this);
    connect(m_ui->btnShutdown, &QPushButton::clicked, this, &DlgShutDown::onShutDown);
    connect(m_ui->btnCancel, &QPushButton::clicked, this, &DlgShutDown::onCancel);
    connect(m_countdownTimer.get(), &QTimer::timeout, this, &DlgShutDown::onTimer);
    m_countdownTimer->start(tickMilliseconds);
}

DlgShutDown::~DlgShutDown() = default;

void DlgShutDown::onTimer()
{
    --m_remainSeconds;
    if (m_remainSeconds == 0) {
        m_countdownTimer->stop();
        accept();
        return;
    }
    m_ui->labelRemainTime->setText(m_remainTemplate.arg(m_remainSeconds));
}

void DlgShutDown::onShutDown()
{
    m_countdownTimer->stop();
    accept();
}

void DlgShutDown::onCancel()
{
    reject();
}
