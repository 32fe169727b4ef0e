#pragma once

#include "files.h"

#include <QDialog>
#include <QString>

#include <functional>
#include <memory>

class Options;

namespace Ui {
class dlgSettings;
}

// Edits four options in memory; whoever runs the dialog saves them when it was accepted.
class DlgSettings final : public QDialog
{
    Q_OBJECT
    Q_DISABLE_COPY(DlgSettings)

public:
    // Lets the person choose a folder, starting at the given one; false when cancelled.
    using FolderChooser = std::function<bool(QWidget *, const QString &, QString *)>;

    explicit DlgSettings(Options &options, QWidget *parent = nullptr,
                         FolderChooser chooser = browseFolder);
    ~DlgSettings() override;

public slots:
    void accept() override;
    void onSelectFolder();

private:
    void setFolder(QString path);
    bool createFolder(const QString &path);

    Options &m_options;
    std::unique_ptr<Ui::dlgSettings> m_ui;
    FolderChooser m_chooseFolder;
    QString m_folder; // as it will be stored when the dialog is accepted
};
