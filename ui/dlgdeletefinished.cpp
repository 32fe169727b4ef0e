#include "dlgdeletefinished.h"

#include "messagebox.h"
#include "options.h"
#include "ui_dlgdeletefinished.h"

DlgDeleteFinished::DlgDeleteFinished(QWidget *parent)
    : QDialog(parent)
    , m_form(std::make_unique<Ui::dlgFinishedDelete>())
{
    m_form->setupUi(this);
    setFixedDialogFlags(this);
    setAttribute(Qt::WA_QuitOnClose, false);
    m_form->boxDeleteVideo->setChecked(Options::instance()->deleteFinishedVideo);
    connect(m_form->btnYes, &QPushButton::clicked, this, &DlgDeleteFinished::onYes);
    connect(m_form->btnNo, &QPushButton::clicked, this, &DlgDeleteFinished::reject);
}

DlgDeleteFinished::~DlgDeleteFinished() = default;

void DlgDeleteFinished::onYes()
{
    Options::instance()->deleteFinishedVideo = m_form->boxDeleteVideo->checkState() == Qt::Checked;
    accept();
}
