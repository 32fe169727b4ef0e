#include "dlgabout.h"

#include "appinfo.h"
#include "messagebox.h"
#include "ui_dlgabout.h"

DlgAbout::DlgAbout(const AppInfo &info, QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::aboutDialog>())
{
    m_ui->setupUi(this);
    connect(m_ui->btnOK, &QPushButton::clicked, this, &DlgAbout::onOK);

    m_ui->labelBuild->setText(info.build);
    m_ui->labelVersion->setText(info.versionText);
    m_ui->labelWebsizte->setLink(info.webSite, info.webSite);
    m_ui->labelSupport->setLink(info.supportEmail, QStringLiteral("mailto:") + info.supportEmail);
    setFixedDialogFlags(this);
    // Only the text is to be clicked, not the empty place beside it.
    for (QLabel *label :
         {static_cast<QLabel *>(m_ui->labelWebsizte), static_cast<QLabel *>(m_ui->labelSupport)})
        label->resize(qMin(label->sizeHint().width(), label->width()), label->height());
    m_ui->btnOK->setFocus();
}

DlgAbout::~DlgAbout() = default;

void DlgAbout::onOK()
{
    accept();
}
