#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>

#include <cstdio>

// What a desktop has whose tray speaks over the session bus: the place where icons announce
// themselves. It says the service of each icon; whoever wants to see or click it asks there.
class TrayHost final : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hasHost)
    Q_PROPERTY(int ProtocolVersion READ version)

public:
    bool hasHost() const { return true; }
    int version() const { return 0; }

public slots:
    void RegisterStatusNotifierItem(const QString &service)
    {
        std::printf("icon %s %s\n", qPrintable(service), qPrintable(message().service()));
        std::fflush(stdout);
    }

signals:
    void StatusNotifierHostRegistered();
};

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    TrayHost host;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.registerObject(QStringLiteral("/StatusNotifierWatcher"), &host,
                            QDBusConnection::ExportAllContents) ||
        !bus.registerService(QStringLiteral("org.kde.StatusNotifierWatcher"))) {
        std::fprintf(stderr, "no session bus, or there is a tray already\n");
        return 1;
    }
    std::printf("ready\n");
    std::fflush(stdout);
    return QCoreApplication::exec();
}

#include "trayhost.moc"
