#include "platform.h"

#include "dbuswait.h"
#include "product.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>
#include <QEvent>
#include <QGuiApplication>
#include <QPointer>
#include <QSocketNotifier>

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

static int s_signalPipe[2] = {-1, -1};

static void onTerminationSignal(int)
{
    const int savedError = errno;
    const char byte = 0;
    // A full pipe already holds the same news.
    [[maybe_unused]] const ssize_t written = write(s_signalPipe[1], &byte, 1);
    errno = savedError;
}

// Becomes active in the event loop once a termination signal has arrived.
static QSocketNotifier *signalNotifier()
{
    static QPointer<QSocketNotifier> notifier;
    if (notifier)
        return notifier;
    if (s_signalPipe[0] < 0 && pipe2(s_signalPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return nullptr;
    notifier = new QSocketNotifier(s_signalPipe[0], QSocketNotifier::Read, qApp);
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, []() {
        char bytes[64];
        while (read(s_signalPipe[0], bytes, sizeof bytes) > 0) {
        }
    });
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        struct sigaction action = {};
        // Started with nohup: the program outlives its terminal.
        if (number == SIGHUP && sigaction(number, nullptr, &action) == 0 &&
            action.sa_handler == SIG_IGN)
            continue;
        action = {};
        action.sa_handler = onTerminationSignal;
        action.sa_flags = SA_RESTART;
        sigaction(number, &action, nullptr);
    }
    return notifier;
}

static QDBusMessage callToPowerService(const QString &method, const QVariantList &arguments)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
        QStringLiteral("org.freedesktop.login1.Manager"), method);
    call.setArguments(arguments);
    return call;
}

namespace {

// What the service must not do, or not at once, as long as this object is there.
class Inhibitor final : public QObject
{
public:
    Inhibitor(const QString &what, const QString &reason, const QString &mode)
    {
        whenAnswered(
            QDBusConnection::systemBus(),
            callToPowerService(QStringLiteral("Inhibit"), {what, product::title(), reason, mode}),
            this, [this](const QDBusMessage &reply) {
                m_file = QDBusPendingReply<QDBusUnixFileDescriptor>(reply).value();
            });
    }

private:
    QDBusUnixFileDescriptor m_file; // open: it counts
};

} // namespace

platform::WakeLock::WakeLock(const QString &reason)
    : m_inhibitor(
          std::make_unique<Inhibitor>(QStringLiteral("idle"), reason, QStringLiteral("block")))
{
}

platform::WakeLock::~WakeLock() = default;

// Hears of the end of the session where it comes from: the machine going down, the session's
// manager, a signal.
class SessionWatch final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(SessionWatch)

public:
    SessionWatch(QObject *context, const std::function<void()> &end)
        : QObject(context)
        , m_end(end)
    {
        // What the session's manager sends when it lets the program die.
        qGuiApp->installEventFilter(this);
        if (QSocketNotifier *notifier = signalNotifier())
            connect(notifier, &QSocketNotifier::activated, this, m_end);

        QDBusConnection bus = QDBusConnection::systemBus();
        if (!bus.isConnected())
            return;
        const QDBusMessage service = callToPowerService(QString(), {});
        bus.connect(service.service(), service.path(), service.interface(),
                    QStringLiteral("PrepareForShutdown"), this, SLOT(onPrepareForShutdown(bool)));
        m_delay = std::make_unique<Inhibitor>(
            QStringLiteral("shutdown"),
            QCoreApplication::translate("platform", "Saving the downloads"),
            QStringLiteral("delay"));
    }

    bool eventFilter(QObject *receiver, QEvent *event) override
    {
        if (receiver != qGuiApp || event->type() != QEvent::Quit)
            return false;
        m_end();
        return true;
    }

private slots:
    void onPrepareForShutdown(bool begins)
    {
        if (begins)
            m_end();
    }

private:
    std::function<void()> m_end;
    // The machine waits for it, some seconds at most. It goes last, with the context: everything
    // has been saved by then.
    std::unique_ptr<Inhibitor> m_delay;
};

void platform::watchSession(QObject *context, const std::function<void()> &save,
                            const std::function<void()> &end)
{
    QGuiApplication::setFallbackSessionManagementEnabled(false);
    QObject::connect(qGuiApp, &QGuiApplication::commitDataRequest, context, save);
    new SessionWatch(context, end); // a child of its context
}

// Asks the service that manages seats and power; the reply is an error when it is not there.
static QDBusMessage askPowerService(const QString &method, const QVariantList &arguments = {})
{
    constexpr int patience = 5000; // milliseconds
    return answerTo(QDBusConnection::systemBus(), callToPowerService(method, arguments), patience);
}

static bool isAnswered(const QDBusMessage &reply)
{
    return reply.type() == QDBusMessage::ReplyMessage;
}

// The argument of the requests: no question of the service's own.
static QVariantList withoutQuestion()
{
    return {false};
}

bool platform::suspend(bool hibernate)
{
    return isAnswered(askPowerService(
        hibernate ? QStringLiteral("Hibernate") : QStringLiteral("Suspend"), withoutQuestion()));
}

bool platform::hasShutDownRight()
{
    return isAnswered(askPowerService(QStringLiteral("CanPowerOff")));
}

static platform::ShutDown readShutDown(const QDBusMessage &reply)
{
    const QString answer = isAnswered(reply) ? reply.arguments().value(0).toString() : QString();
    if (answer == QLatin1String("yes"))
        return platform::ShutDown::Possible;
    return answer == QLatin1String("challenge") ? platform::ShutDown::NeedsPassword
                                                : platform::ShutDown::Impossible;
}

bool platform::acquireShutDownRight()
{
    // A password would be asked of somebody who has gone to bed.
    return readShutDown(askPowerService(QStringLiteral("CanPowerOff"))) == ShutDown::Possible;
}

void platform::askForShutDown(QObject *context, const std::function<void(ShutDown)> &handler)
{
    whenAnswered(QDBusConnection::systemBus(),
                 callToPowerService(QStringLiteral("CanPowerOff"), {}), context,
                 [handler](const QDBusMessage &reply) { handler(readShutDown(reply)); });
}

bool platform::requestShutDown()
{
    return isAnswered(askPowerService(QStringLiteral("PowerOff"), withoutQuestion()));
}

#include "platform_session.moc"
