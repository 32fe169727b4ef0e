#include "options.h"

#include "files.h"
#include "instance.h"
#include "platform.h"
#include "product.h"
#include "windowplace.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTableWidget>
#include <QUrl>

// The settings of one sub-key.
class SubKey final : public QSettings
{
public:
    explicit SubKey(const QString &name)
        : QSettings(QSettings::NativeFormat, QSettings::UserScope, product::maker(),
                    product::title())
    {
        setFallbacksEnabled(false);
        beginGroup(name);
    }
};

// What stands behind the key in the file.
static QString textInFile(const QSettings &settings, const QString &key)
{
    const auto isNamed = [](const QByteArray &name, const QString &wanted) {
        return QUrl::fromPercentEncoding(name.trimmed()) == wanted;
    };
    QFile file(settings.fileName());
    QString text;
    bool inGroup = false;
    if (!file.open(QIODevice::ReadOnly))
        return text;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine().trimmed();
        const int equals = line.indexOf('=');
        if (line.startsWith('['))
            inGroup = isNamed(line.mid(1, line.size() - 2), settings.group());
        else if (inGroup && equals > 0 && isNamed(line.left(equals), key))
            text = QString::fromUtf8(line.mid(equals + 1).trimmed());
    }
    return text;
}

static QString readText(const QSettings &settings, const QString &key)
{
    const QVariant value = settings.value(key);
    // A text with commas that was written by hand without quotes: the toolkit takes it for a list,
    // and the blanks around its parts for nothing.
    return value.type() == QVariant::StringList ? textInFile(settings, key) : value.toString();
}

static int readNumber(const QSettings &settings, const QString &key, int defaultValue)
{
    bool ok = false;
    const int value = settings.value(key).toString().toInt(&ok);
    return ok ? value : defaultValue;
}

static bool readFlag(const QSettings &settings, const QString &key, bool defaultValue)
{
    const QString text = settings.value(key).toString().trimmed().toLower();
    if (text == QLatin1String("true"))
        return true;
    if (text == QLatin1String("false"))
        return false;
    bool ok = false;
    const int number = text.toInt(&ok);
    return ok ? number != 0 : defaultValue;
}

Options::Options()
    : m_settings(QSettings::NativeFormat, QSettings::UserScope, product::maker(), product::title())
{
    m_settings.setFallbacksEnabled(false);
    m_settings.beginGroup(QStringLiteral("Options"));
}

Options *Options::instance()
{
    return ProcessInstance<Options>::get();
}

void Options::destroyInstance()
{
    ProcessInstance<Options>::destroy();
}

bool Options::load()
{
    outputFolder = readText(m_settings, QStringLiteral("Output Folder"));
    if (outputFolder.isEmpty())
        outputFolder = defaultOutputFolder();
    ensureTrailingSeparator(outputFolder);
    ensureDir(outputFolder);

    sourceQuality = readNumber(m_settings, QStringLiteral("Source Quality"), 2);
    outputFormat = readNumber(m_settings, QStringLiteral("Output Format"), 0);
    deleteFinishedVideo = readFlag(m_settings, QStringLiteral("Delete Finished Video"), false);
    lastActiveTable = readNumber(m_settings, QStringLiteral("Last Active Table"), 0);
    queryOnExit = readFlag(m_settings, QStringLiteral("Query on Exit"), true);
    autoOpenNew = readFlag(m_settings, QStringLiteral("Auto Open New"), true);
    notifyWhenFinished = readFlag(m_settings, QStringLiteral("Notify When Finished"), true);
    shutDownWhenAllFinished =
        readFlag(m_settings, QStringLiteral("Shut Down When All Finished"), false);
    trayNotifyDuration = readNumber(m_settings, QStringLiteral("Tray Notify Duration"), 5);
    showMainFrame = readFlag(m_settings, QStringLiteral("Show Main Frame"), true);
    jsVersion = readNumber(m_settings, QStringLiteral("JS Version"), firstJsVersion);

    jsPath = readText(m_settings, QStringLiteral("JS Path"));
    if (jsPath.isEmpty())
        jsPath = appDataPath() + QStringLiteral("script");
    ensureTrailingSeparator(jsPath);
    ensureDir(jsPath);

    firstCloseMainFrame = readFlag(m_settings, QStringLiteral("First Close MainFrame"), true);
    const QString hosts = QStringLiteral("Secure Hosts");
    if (m_settings.contains(hosts))
        secureHosts = readText(m_settings, hosts);

    const SubKey debug(QStringLiteral("Debug"));
    enableLogging = readFlag(debug, QStringLiteral("Enable Logging"), false);
    deleteTempFile = readFlag(debug, QStringLiteral("Delete Temp File"), true);
    appendDeviceName = readFlag(debug, QStringLiteral("Append Device Name"), false);
    removeUpdateFile = readFlag(debug, QStringLiteral("Remove Update File"), true);
    m_saved = written();
    return true;
}

QVector<QPair<QString, QVariant>> Options::written() const
{
    return {
        {QStringLiteral("Output Folder"), outputFolder},
        {QStringLiteral("Source Quality"), sourceQuality},
        {QStringLiteral("Output Format"), outputFormat},
        {QStringLiteral("Delete Finished Video"), deleteFinishedVideo},
        {QStringLiteral("Last Active Table"), lastActiveTable},
        {QStringLiteral("Tray Notify Duration"), trayNotifyDuration},
        {QStringLiteral("Auto Open New"), autoOpenNew},
        {QStringLiteral("Notify When Finished"), notifyWhenFinished},
        {QStringLiteral("Shut Down When All Finished"), shutDownWhenAllFinished},
        {QStringLiteral("Show Main Frame"), showMainFrame},
        {QStringLiteral("JS Version"), jsVersion},
        {QStringLiteral("Query on Exit"), queryOnExit},
        {QStringLiteral("First Close MainFrame"), firstCloseMainFrame},
    };
}

bool Options::save()
{
    m_saved = written();
    for (const auto &setting : qAsConst(m_saved))
        m_settings.setValue(setting.first, setting.second);
    // Written at once: the next thing that happens may be the end of the process.
    m_settings.sync();
    return true;
}

void Options::saveChanges()
{
    if (written() != m_saved)
        save();
}

bool Options::saveGeometry(const QString &name, const QWidget *widget)
{
    SubKey settings(name);
    settings.setValue(QStringLiteral("size"), widget->size());
    settings.setValue(QStringLiteral("pos"), widget->pos());
    return true;
}

bool Options::restoreGeometry(const QString &name, QWidget *widget)
{
    const SubKey settings(name);
    const QSize size = settings.value(QStringLiteral("size")).toSize();
    const QVariant position = settings.value(QStringLiteral("pos"));
    const bool hasSize = !size.isEmpty();
    const bool hasPosition = position.type() == QVariant::Point;
    // Half of a place that was left is no reason to hang over the edge of the screen.
    placeWindow(widget, hasPosition ? position.toPoint() : QPoint(200, 200),
                hasSize ? size : QSize(800, 600),
                hasSize && hasPosition ? WindowPlace::Reachable : WindowPlace::Inside);
    return true;
}

bool Options::saveColumns(const QString &name, const QTableWidget *table)
{
    QStringList widths;
    for (int column = 0; column < table->columnCount(); ++column)
        widths << QString::number(table->columnWidth(column));
    SubKey(name).setValue(QStringLiteral("Columns"), widths.join(QLatin1Char(',')));
    return true;
}

bool Options::restoreColumns(const QString &name, QTableWidget *table,
                             const QString &defaultColumns)
{
    const SubKey settings(name);
    const QString text = settings.contains(QStringLiteral("Columns"))
                             ? readText(settings, QStringLiteral("Columns"))
                             : defaultColumns;
    if (text.isEmpty())
        return false;
    const QStringList widths = text.split(QLatin1Char(','));
    if (widths.size() == table->columnCount()) {
        for (int column = 0; column < widths.size(); ++column)
            table->setColumnWidth(column, widths.at(column).toInt());
    }
    return true;
}

bool Options::ensureOutputFolder()
{
    return ensureDir(outputFolder);
}

bool Options::openOutputFolder()
{
    return ensureDir(outputFolder) && openFolder(outputFolder);
}

QString Options::appDataPath()
{
    QString path = platform::applicationDataFolder();
    if (path.isEmpty())
        path = QDir::tempPath();
    path = QDir::toNativeSeparators(path);
    ensureTrailingSeparator(path);
    path += product::maker() + QDir::separator() + product::title() + QDir::separator();
    ensureDir(path);
    return path;
}

QString Options::defaultOutputFolder()
{
    QString path = platform::documentsFolder();
    if (!ensureDir(path))
        path = platform::videosFolder();
    if (!ensureDir(path))
        path = QCoreApplication::applicationDirPath();
    path = QDir::toNativeSeparators(path);
    ensureTrailingSeparator(path);
    return path + product::title() + QDir::separator();
}
