#include "logfile.h"

#include "instance.h"
#include "platform.h"
#include "product.h"
#include "trace.h"

#include <QDate>
#include <QDir>
#include <QTextStream>

LogFile::~LogFile()
{
    if (isOpen())
        close();
    m_opened = false;
}

LogFile *LogFile::instance()
{
    return ProcessInstance<LogFile>::get();
}

void LogFile::destroyInstance()
{
    ProcessInstance<LogFile>::destroy();
}

bool LogFile::open()
{
    QMutexLocker lock(&m_mutex);
    if (m_opened)
        return true;
    // Without a folder for temporary files the path would begin at the root.
    const QString folder = QDir::tempPath();
    if (folder.isEmpty())
        return false;
    const QString stem = folder + QLatin1Char('/') + product::title() + QLatin1Char('-') +
                         QDate::currentDate().toString(QStringLiteral("yyyy-M-d"));
    QString path = stem + QStringLiteral(".log");
    for (int number = 0;; ++number) {
        if (!QFile::exists(path)) {
            TRACE() << "Log file:" << path;
            setFileName(path);
            // A second program may take the same name between the look and the creation.
            if (platform::createPrivateFile(path))
                return m_opened = QFile::open(QIODevice::ReadWrite | QIODevice::ExistingOnly);
            if (!QFile::exists(path))
                return false;
        }
        path = stem + QLatin1Char('_') + QString::number(number) + QStringLiteral(".log");
    }
}

// Texts come from pages, and none may pass for lines of their own.
static QString onOneLine(QString text)
{
    for (QChar &c : text) {
        const QChar::Category category = c.category();
        if ((category == QChar::Other_Control && c != QLatin1Char('\t')) ||
            category == QChar::Separator_Line || category == QChar::Separator_Paragraph)
            c = QLatin1Char(' ');
    }
    return text;
}

void LogFile::write(const QString &tag, const QString &text)
{
    QMutexLocker lock(&m_mutex);
    if (!m_opened || !isOpen())
        return;
    {
        QTextStream stream(this);
        stream << tag << onOneLine(text) << QStringLiteral("\r\n");
    }
    flush();
}
