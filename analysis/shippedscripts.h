#pragma once

#include <QString>

// The site scripts that are installed with the program, for a start at which there are no others.
class ShippedScripts final
{
public:
    // The folder has the manifest and what it names, as they are published; it may be missing.
    explicit ShippedScripts(const QString &folder);

    // True when a script folder holds no script and nothing else of the person's.
    static bool isNeeded(const QString &scriptFolder);

    // Puts the whole set into the script folder (which ends with a separator), in place of files of
    // the same names, or nothing of it. The version it has then, or why not.
    struct Result
    {
        qint32 version = 0;
        QString problem; // empty: it is there
    };
    Result putInto(const QString &scriptFolder) const;

private:
    const QString m_folder; // ends with a separator
};
