#include "dlgsettings.h"

#include "messagebox.h"
#include "options.h"
#include "ui_dlgsettings.h"

#include <QDir>

DlgSettings::DlgSettings(Options &options, QWidget *parent, FolderChooser chooser,
                         const ShutDownQuestion &question)
    : QDialog(parent)
    , m_options(options)
    , m_ui(std::make_unique<Ui::dlgSettings>())
    , m_chooseFolder(std::move(chooser))
{
    m_ui->setupUi(this);
    setFixedDialogFlags(this);
    connect(m_ui->btnSelectFolder, &QPushButton::clicked, this, &DlgSettings::onSelectFolder);

    m_ui->checkBoxAuto->setChecked(options.autoOpenNew);
    m_ui->checkBoxNotify->setChecked(options.notifyWhenFinished);
    m_ui->checkBoxShutdown->setChecked(options.shutDownWhenAllFinished);
    m_folder = options.outputFolder;
    m_ui->lineEdit->setText(m_folder);
    watchShutDownBox(question);
}

DlgSettings::~DlgSettings() = default;

void DlgSettings::accept()
{
    m_options.autoOpenNew = m_ui->checkBoxAuto->checkState() == Qt::Checked;
    m_options.notifyWhenFinished = m_ui->checkBoxNotify->checkState() == Qt::Checked;
    m_options.shutDownWhenAllFinished = m_ui->checkBoxShutdown->checkState() == Qt::Checked;
    m_options.outputFolder = m_folder;
    QDialog::accept();
}

// When the last download is complete, nobody may be there to read it.
void DlgSettings::watchShutDownBox(const ShutDownQuestion &question)
{
    const QCheckBox *box = m_ui->checkBoxShutdown;
    question(this, [this, box, before = box->isChecked()](platform::ShutDown answer) {
        m_shutDown = answer;
        if (box->isChecked() && !before)
            warnOfShutDown();
    });
    connect(box, &QCheckBox::toggled, this, [this](bool ticked) {
        if (ticked && m_shutDown) // otherwise the answer says it
            QMetaObject::invokeMethod(this, &DlgSettings::warnOfShutDown, Qt::QueuedConnection);
    });
}

void DlgSettings::warnOfShutDown()
{
    if (m_shutDown.value_or(platform::ShutDown::Possible) == platform::ShutDown::Possible)
        return;
    showMessageBox(
        QMessageBox::Warning, QString(),
        *m_shutDown == platform::ShutDown::NeedsPassword
            ? tr("The system asks for a password before it shuts the computer down. As long as "
                 "that is so, the computer stays on when all downloads are completed.")
            : tr("The system does not let this program shut the computer down. As long as that "
                 "is so, the computer stays on when all downloads are completed."),
        QMessageBox::Ok, QMessageBox::Ok);
}

void DlgSettings::setFolder(QString path)
{
    ensureTrailingSeparator(path);
    m_folder = path;
    m_ui->lineEdit->setText(m_folder);
}

bool DlgSettings::createFolder(const QString &path)
{
    const QMessageBox::StandardButton answer = showMessageBox(
        QMessageBox::Warning, QString(),
        tr("Directory \"%1\" does not exist. Would you like to create it now?").arg(path),
        QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes);
    if (answer != QMessageBox::Yes)
        return false;
    if (ensureDir(path))
        return true;
    showMessageBox(QMessageBox::Warning, QString(),
                   tr("Failed to create directory \"%1\".").arg(path), QMessageBox::Ok,
                   QMessageBox::Ok);
    return false;
}

void DlgSettings::onSelectFolder()
{
    QString path;
    if (!m_chooseFolder(this, m_ui->lineEdit->text(), &path))
        return;
    if (!QDir(path).exists()) {
        if (createFolder(path))
            setFolder(path);
    } else if (isFolderWritable(path)) {
        setFolder(path);
    } else {
        showMessageBox(QMessageBox::Warning, QString(),
                       tr("Cannot create files in the specified folder \"%1\". Please check if you "
                          "have write permission to the folder.")
                           .arg(path),
                       QMessageBox::Ok, QMessageBox::Ok);
    }
}
