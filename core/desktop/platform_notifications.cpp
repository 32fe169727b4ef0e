#include "platform.h"

#include "dbuswait.h"
#include "product.h"

#include <QDBusConnection>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QSet>

#include <utility>

namespace {

QDBusMessage callToNotifier(const QString &method)
{
    return QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.Notifications"),
                                          QStringLiteral("/org/freedesktop/Notifications"),
                                          QStringLiteral("org.freedesktop.Notifications"), method);
}

} // namespace

class platform::NotificationService final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(NotificationService)

public:
    explicit NotificationService(std::function<void(const QByteArray &)> clicked)
        : m_clicked(std::move(clicked))
    {
        listenTo("ActivationToken", SLOT(onActivationToken(uint, QString)));
        listenTo("ActionInvoked", SLOT(onActionInvoked(uint)));
        listenTo("NotificationClosed", SLOT(onClosed(uint)));
        // Who takes its place counts from the beginning: the numbers are somebody else's then.
        const auto *owner = new QDBusServiceWatcher(
            callToNotifier(QString()).service(), QDBusConnection::sessionBus(),
            QDBusServiceWatcher::WatchForUnregistration, this);
        connect(owner, &QDBusServiceWatcher::serviceUnregistered, this,
                [this] { m_shown.clear(); });
    }

    // Services differ in what they understand, and may be replaced at any time: each is asked.
    void show(const Notification &notification, const std::function<void()> &unseen)
    {
        whenAnswered(QDBusConnection::sessionBus(),
                     callToNotifier(QStringLiteral("GetCapabilities")), this,
                     [this, notification, unseen](const QDBusMessage &reply) {
                         if (reply.type() == QDBusMessage::ReplyMessage)
                             send(notification, reply.arguments().value(0).toStringList(), unseen);
                         else
                             unseen();
                     });
    }

private slots:
    // Comes before the action that it belongs to.
    void onActivationToken(uint id, const QString &token)
    {
        if (m_shown.contains(id))
            m_token = token.toUtf8();
    }
    void onActionInvoked(uint id)
    {
        if (m_shown.contains(id))
            m_clicked(std::exchange(m_token, QByteArray()));
    }
    void onClosed(uint id) { m_shown.remove(id); }

private:
    // Without a sender, of whom the bus would be asked, and waited for.
    void listenTo(const char *signal, const char *slot)
    {
        const QDBusMessage service = callToNotifier(QString());
        QDBusConnection::sessionBus().connect(QString(), service.path(), service.interface(),
                                              QLatin1String(signal), this, slot);
    }

    void send(const Notification &notification, const QStringList &capabilities,
              const std::function<void()> &unseen)
    {
        const QString icon = notification.isWarning ? QStringLiteral("dialog-warning")
                                                    : QStringLiteral("dialog-information");
        const bool isMarkup = capabilities.contains(QLatin1String("body-markup"));
        const QVariantMap hints{{QStringLiteral("desktop-entry"), QStringLiteral("reelkeeper")}};
        QDBusMessage call = callToNotifier(QStringLiteral("Notify"));
        call << product::name() << 0U << icon
             << (notification.title.isEmpty() ? product::title() : notification.title)
             << (isMarkup ? notification.text.toHtmlEscaped() : notification.text)
             << QStringList{QStringLiteral("default"), tr("Show the window")} << hints
             << notification.milliseconds;
        whenAnswered(QDBusConnection::sessionBus(), call, this,
                     [this, unseen](const QDBusMessage &reply) {
                         const QDBusPendingReply<uint> id(reply);
                         if (id.isError())
                             unseen();
                         else
                             m_shown.insert(id.value());
                     });
    }

    const std::function<void(const QByteArray &)> m_clicked;
    QSet<uint> m_shown; // the program's own: everybody hears of every notification
    QByteArray m_token;
};

platform::Notifications::Notifications(std::function<void(const QByteArray &token)> clicked)
    : m_service(std::make_unique<NotificationService>(std::move(clicked)))
{
}

platform::Notifications::~Notifications() = default;

void platform::Notifications::show(const Notification &notification,
                                   const std::function<void()> &unseen)
{
    m_service->show(notification, unseen);
}

#include "platform_notifications.moc"
