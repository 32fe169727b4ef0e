#pragma once

#include "files.h"
#include "platform.h"

#include <QDialog>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

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

    // Finds out what a request to shut the computer down would come to.
    using ShutDownQuestion =
        std::function<void(QObject *context, const std::function<void(platform::ShutDown)> &)>;

    explicit DlgSettings(Options &options, QWidget *parent = nullptr,
                         FolderChooser chooser = browseFolder,
                         const ShutDownQuestion &question = platform::askForShutDown);
    ~DlgSettings() override;

public slots:
    void accept() override;
    void onSelectFolder();

private:
    void watchShutDownBox(const ShutDownQuestion &question);
    void warnOfShutDown();
    void setFolder(QString path);
    bool createFolder(const QString &path);

    Options &m_options;
    std::unique_ptr<Ui::dlgSettings> m_ui;
    FolderChooser m_chooseFolder;
    std::optional<platform::ShutDown> m_shutDown; // once it is known
    QString m_folder; // as it will be stored when the dialog is accepted
};
