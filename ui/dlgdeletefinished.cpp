#include "dlgdeletefinished.h"

#include "messagebox.h"
#include "options.h"
#include "ui_dlgdeletefinished.h"

DlgDeleteFinished::DlgDeleteFinished(Options &options, QWidget *parent)
    : QDialog(parent)
    , m_options(options)
    , m_ui(std::make_unique<Ui::dlgFinishedDelete>())
{
    m_ui->setupUi(this);
    setFixedDialogFlags(this);
    m_ui->boxDeleteVideo->setChecked(m_options.deleteFinishedVideo);
    connect(m_ui->btnYes, &QPushButton::clicked, this, &DlgDeleteFinished::onYes);
    connect(m_ui->btnNo, &QPushButton::clicked, this, &DlgDeleteFinished::reject);
}

DlgDeleteFinished::~DlgDeleteFinished() = default;

void DlgDeleteFinished::onYes()
{
    m_options.deleteFinishedVideo = m_ui->boxDeleteVideo->checkState() == Qt::Checked;
    accept();
}
