#include "platform.h"

#include "xconnection.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QGuiApplication>
#include <QSocketNotifier>

#include <memory>
#include <optional>
#include <utility>

namespace {

// The older tray, of X desktops: there is one while a certain selection has an owner. On a
// connection of its own, because the toolkit keeps its to itself.
class SelectionTray final : public QObject
{
public:
    explicit SelectionTray(std::function<void()> changed)
        : m_connection(xcb_connect(nullptr, &m_screen))
        , m_changed(std::move(changed))
    {
        if (xcb_connection_has_error(m_connection) != 0)
            return;
        m_manager = atomNamed(m_connection, "MANAGER");
        m_selection = atomNamed(m_connection, "_NET_SYSTEM_TRAY_S" + QByteArray::number(m_screen));
        listenTo(rootOf(m_connection, m_screen)); // where a new owner announces itself
        findOwner();
        const auto *events =
            new QSocketNotifier(xcb_get_file_descriptor(m_connection), QSocketNotifier::Read, this);
        connect(events, &QSocketNotifier::activated, this, [this] { readEvents(); });
        // What came together with the answers above wakes nobody.
        QMetaObject::invokeMethod(
            this, [this] { readEvents(); }, Qt::QueuedConnection);
    }
    ~SelectionTray() override { xcb_disconnect(m_connection); }
    Q_DISABLE_COPY(SelectionTray)

    bool isThere() const { return m_owner != XCB_NONE; }

private:
    void listenTo(xcb_window_t window)
    {
        const uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(m_connection, window, XCB_CW_EVENT_MASK, &mask);
    }
    void findOwner()
    {
        const auto cookie = xcb_get_selection_owner(m_connection, m_selection);
        const ReplyPointer<xcb_get_selection_owner_reply_t> reply(
            xcb_get_selection_owner_reply(m_connection, cookie, nullptr));
        m_owner = reply ? reply->owner : xcb_window_t(XCB_NONE);
        if (m_owner != XCB_NONE)
            listenTo(m_owner); // its end is the tray's
        xcb_flush(m_connection);
    }
    void readEvents()
    {
        const xcb_window_t before = m_owner;
        ReplyPointer<xcb_generic_event_t> event;
        while (event.reset(xcb_poll_for_event(m_connection)), event) {
            const int type = event->response_type & 0x7f;
            if (type == XCB_CLIENT_MESSAGE) {
                const auto *message =
                    reinterpret_cast<const xcb_client_message_event_t *>(event.get());
                if (message->type == m_manager && message->data.data32[1] == m_selection)
                    findOwner();
            } else if (type == XCB_DESTROY_NOTIFY) {
                const auto *gone =
                    reinterpret_cast<const xcb_destroy_notify_event_t *>(event.get());
                if (gone->window == m_owner)
                    findOwner();
            }
        }
        if (m_owner != before)
            m_changed();
    }

    int m_screen = 0; // before the connection, which sets it
    xcb_connection_t *m_connection;
    std::function<void()> m_changed;
    xcb_atom_t m_manager = XCB_NONE;
    xcb_atom_t m_selection = XCB_NONE;
    xcb_window_t m_owner = XCB_NONE;
};

QString watcherService()
{
    return QStringLiteral("org.kde.StatusNotifierWatcher");
}

QString watcherPath()
{
    return QStringLiteral("/StatusNotifierWatcher");
}

// Follows both kinds of tray. The toolkit decides once for all which of them it serves, when the
// first icon is made: from then on only that kind counts.
class TrayWatch final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(TrayWatch)

public:
    TrayWatch(QObject *context, std::function<void(platform::Tray)> handler)
        : QObject(context)
        , m_handler(std::move(handler))
    {
        if (QGuiApplication::platformName() == QLatin1String("xcb"))
            m_selectionTray = std::make_unique<SelectionTray>([this] { tell(); });
        QDBusConnection bus = QDBusConnection::sessionBus();
        const auto *owner = new QDBusServiceWatcher(watcherService(), bus,
                                                    QDBusServiceWatcher::WatchForOwnerChange, this);
        connect(owner, &QDBusServiceWatcher::serviceOwnerChanged, this, &TrayWatch::askForHost);
        for (const char *change :
             {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"})
            bus.connect(watcherService(), watcherPath(), watcherService(), QLatin1String(change),
                        this, SLOT(askForHost()));
        askForHost();
    }

private slots:
    // Who keeps the list of icons may be there before anybody shows them.
    void askForHost()
    {
        constexpr int patience = 3000; // milliseconds
        QDBusMessage call = QDBusMessage::createMethodCall(
            watcherService(), watcherPath(), QStringLiteral("org.freedesktop.DBus.Properties"),
            QStringLiteral("Get"));
        call.setArguments({watcherService(), QStringLiteral("IsStatusNotifierHostRegistered")});
        call.setAutoStartService(false);
        auto *question = new QDBusPendingCallWatcher(
            QDBusConnection::sessionBus().asyncCall(call, patience), this);
        m_question = question;
        connect(question, &QDBusPendingCallWatcher::finished, this, &TrayWatch::takeAnswer);
        // Without a bus the answer is there already, and nobody announces it.
        if (question->isFinished())
            QMetaObject::invokeMethod(
                this, [this, question] { takeAnswer(question); }, Qt::QueuedConnection);
    }

private:
    enum class Kind { None, Host, Selection };

    void takeAnswer(QDBusPendingCallWatcher *question)
    {
        question->deleteLater();
        if (question != m_question)
            return; // asked again meanwhile
        const QVariant answer = question->reply().arguments().value(0);
        m_host = !question->isError() && qvariant_cast<QDBusVariant>(answer).variant().toBool();
        m_answered = true;
        tell();
    }

    void tell()
    {
        const bool selection = m_selectionTray && m_selectionTray->isThere();
        if (!m_answered)
            return;
        if (m_kind == Kind::None && m_host)
            m_kind = Kind::Host;
        else if (m_kind == Kind::None && selection)
            m_kind = Kind::Selection;
        auto tray = platform::Tray::Missing;
        if (m_kind == Kind::Host && m_host)
            tray = platform::Tray::OverBus;
        else if (m_kind != Kind::Host && selection)
            tray = platform::Tray::OfWindows;
        if (std::exchange(m_told, tray) != tray)
            m_handler(tray);
    }

    std::function<void(platform::Tray)> m_handler;
    std::unique_ptr<SelectionTray> m_selectionTray; // null: not on an X desktop
    QDBusPendingCallWatcher *m_question = nullptr;  // the last one; only compared
    bool m_host = false;
    bool m_answered = false;
    Kind m_kind = Kind::None;
    std::optional<platform::Tray> m_told;
};

} // namespace

void platform::watchTray(QObject *context, const std::function<void(Tray)> &handler)
{
    new TrayWatch(context, handler);
}

#include "platform_tray.moc"
