#pragma once

#include <QString>

class QWidget;

// File and folder helpers. Failures are told by the result only.

bool ensureDir(const QString &path); // true when the folder exists afterwards
bool openFolder(const QString &path);
// False only when no program opens files of this type and no chooser of one could be shown.
bool openFile(const QString &path);
// Lets the person choose a folder; false, and *chosen as it was, when cancelled.
bool browseFolder(QWidget *parent, const QString &initialPath, QString *chosen);
bool isFolderWritable(const QString &path); // probes by creating and deleting a file
qint64 fileSize(const QString &path);       // bytes; 0 when the file cannot be opened

QString absolutePathOf(const QString &file); // the folder of a file, without separator at the end
QString suffixOf(const QString &file);       // the extension without the dot
QString renamedPath(const QString &file, const QString &newBaseName);
// False when the name holds one of the 11 characters that are forbidden in file names, or would
// hide the file.
bool isValidFileName(const QString &name);
QString sanitizeFileName(const QString &name); // each of them replaced by "_"
// What a file may be called after a title: sanitised, never hidden, never empty, not longer than
// any file's name.
QString nameFromTitle(const QString &title);
void ensureTrailingSeparator(QString &path);
// The longest beginning of baseName, cut at a character boundary, for which
// baseName + suffix still fits the file system's limit of 255 bytes for one name.
QString fittingBaseName(const QString &baseName, const QString &suffix);
