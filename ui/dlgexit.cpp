#include "dlgexit.h"

#include "messagebox.h"
#include "options.h"
#include "ui_dlgexit.h"

DlgExit::DlgExit(Options &options, QWidget *parent)
    : QDialog(parent)
    , m_options(options)
    , m_ui(std::make_unique<Ui::dlgExit>())
{
    m_ui->setupUi(this);
    setFixedDialogFlags(this);
    m_ui->boxAskAgain->setChecked(!m_options.queryOnExit);
    connect(m_ui->btnExit, &QPushButton::clicked, this, &DlgExit::onExit);
    connect(m_ui->btnCancel, &QPushButton::clicked, this, &DlgExit::reject);
}

DlgExit::~DlgExit() = default;

void DlgExit::onExit()
{
    m_options.queryOnExit = !m_ui->boxAskAgain->isChecked();
    accept();
}
