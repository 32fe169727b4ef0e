#include "modaldriver.h"

#include <QAbstractButton>
#include <QApplication>
#include <QTest>

ModalDriver::ModalDriver(const char *className, const Action &action)
    : m_className(className)
    , m_action(action)
{
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { look(); });
    m_timer.start(5);
}

void ModalDriver::look()
{
    QWidget *dialog = QApplication::activeModalWidget();
    if (!dialog || dialog == m_last)
        return;
    m_last = dialog;
    // None ends a program whose window is hidden, and forms keep their size.
    QVERIFY(!dialog->testAttribute(Qt::WA_QuitOnClose));
    if (!dialog->inherits(m_className)) {
        dialog->close();
        return;
    }
    ++m_seen;
    QVERIFY(dialog->inherits("QMessageBox") || dialog->minimumSize() == dialog->maximumSize());
    m_action(dialog);
}

ModalDriver::Action ModalDriver::press(const QString &button)
{
    return [button](QWidget *dialog) {
        for (QAbstractButton *candidate : dialog->findChildren<QAbstractButton *>()) {
            const QString text = candidate->text().remove(QLatin1Char('&'));
            if (candidate->objectName() == button || text == button)
                return QTest::mouseClick(candidate, Qt::LeftButton);
        }
        qFatal("no button %s", qPrintable(button));
    };
}
