#pragma once

#include <QPair>
#include <QSettings>
#include <QString>
#include <QVariant>
#include <QVector>

#include <optional>

class QTableWidget;
class QWidget;

// The person's settings. User-interface thread only; users read the public fields directly.
// Unreadable values give the default, failed writes are ignored.
class Options final
{
public:
    Options();
    static Options *instance();
    static void destroyInstance();

    bool load(); // always true
    bool save(); // always true; not "JS Path", "Secure Hosts" and "Debug"

    // The same when one of them is another than it was loaded or saved last.
    void saveChanges();

    bool saveGeometry(const QString &name, const QWidget *widget);
    bool restoreGeometry(const QString &name, QWidget *widget);
    bool saveColumns(const QString &name, const QTableWidget *table);
    // False when there is no text to restore from. A text with another number of columns than the
    // table has changes nothing.
    bool restoreColumns(const QString &name, QTableWidget *table, const QString &defaultColumns);

    bool ensureOutputFolder();
    bool openOutputFolder();
    // The per-user data folder, created when missing; ends with a separator.
    static QString appDataPath();
    static QString defaultOutputFolder(); // ends with a separator

    QString outputFolder; // ends with the native separator
    int sourceQuality = 0;
    int outputFormat = 0;
    bool deleteFinishedVideo = false;
    int lastActiveTable = 0;
    bool queryOnExit = false;
    bool autoOpenNew = false;
    bool notifyWhenFinished = false;
    bool shutDownWhenAllFinished = false;
    int trayNotifyDuration = 0; // seconds
    bool showMainFrame = false;
    static constexpr int firstJsVersion = 100; // of an installation without any update
    int jsVersion = -1;
    QString jsPath; // ends with the native separator
    bool firstCloseMainFrame = false;
    std::optional<QString> secureHosts; // as written by hand, see SecureHosts; none: not written

    bool enableLogging = false;
    bool deleteTempFile = false;
    bool appendDeviceName = false;
    bool removeUpdateFile = false;

private:
    QVector<QPair<QString, QVariant>> written() const; // what save() writes, by key

    QSettings m_settings;
    QVector<QPair<QString, QVariant>> m_saved;
};
