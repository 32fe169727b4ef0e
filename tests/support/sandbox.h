#pragma once

#include <QString>
#include <QTemporaryDir>

// Folders of a test's own in place of the person's: configuration, data, documents, temporary files
// and runtime folder. Build it before anything asks for a folder; Options, LogFile and AppInfo made
// afterwards live inside it. One per process, for its whole life.
class Sandbox final
{
public:
    Sandbox();
    QString path(const QString &name = QString()) const; // inside the sandbox
    QString outputFolder() const;                        // exists, ends with a separator
    QString scriptFolder() const;                        // exists, ends with a separator

    // Loads the options with the output and script folder above, logging as given.
    void loadOptions(bool logging = false);
    // All lines of the log written so far, without line ends; empty when there is no log.
    QStringList logLines() const;

private:
    QTemporaryDir m_dir;
};

QByteArray readFile(const QString &path); // whole file, empty when it cannot be read
bool writeFile(const QString &path, const QByteArray &bytes); // creates folders
