#include "xstartup.h"

#include "xconnection.h"

#include <cstring>

XStartup::XStartup(const QByteArray &id)
    : m_id(id)
    , m_connection(xcb_connect(nullptr, &m_screen))
{
}

XStartup::~XStartup()
{
    // The answer comes after everything before it has been done.
    const auto last = xcb_get_input_focus(m_connection);
    const ReplyPointer<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(m_connection, last, nullptr));
    xcb_disconnect(m_connection);
}

bool XStartup::isConnected() const
{
    return xcb_connection_has_error(m_connection) == 0;
}

void XStartup::announce(xcb_window_t window)
{
    if (!isConnected())
        return;
    xcb_change_property(
        m_connection, XCB_PROP_MODE_REPLACE, window, atomNamed(m_connection, "_NET_STARTUP_ID"),
        atomNamed(m_connection, "UTF8_STRING"), 8, uint32_t(m_id.size()), m_id.constData());
    const ReplyPointer<xcb_get_input_focus_reply_t> done(
        xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
}

void XStartup::finish(xcb_window_t window)
{
    if (!isConnected())
        return;
    const QByteArray mark = QByteArrayLiteral("_TIME");
    const int at = m_id.lastIndexOf(mark);
    bool hasTime = false;
    const uint32_t time = at < 0 ? 0 : m_id.mid(at + mark.size()).toUInt(&hasTime);
    if (hasTime && time != 0) {
        setUserTime(window, time);
        xcb_client_message_event_t message = {};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = window;
        message.type = atomNamed(m_connection, "_NET_ACTIVE_WINDOW");
        message.data.data32[0] = 1; // an application's request
        message.data.data32[1] = time;
        send(message, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT);
    }
    QByteArray id = m_id;
    id.replace('\\', "\\\\").replace('"', "\\\"");
    broadcast(window, "remove: ID=\"" + id + '"');
}

// Some windows have theirs on another window, so that it can change without waking up whoever
// follows their properties.
void XStartup::setUserTime(xcb_window_t window, uint32_t time)
{
    const auto cookie = xcb_get_property(m_connection, false, window,
                                         atomNamed(m_connection, "_NET_WM_USER_TIME_WINDOW"),
                                         XCB_ATOM_WINDOW, 0, 1);
    const ReplyPointer<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(m_connection, cookie, nullptr));
    if (reply && reply->format == 32 && xcb_get_property_value_length(reply.get()) == 4)
        std::memcpy(&window, xcb_get_property_value(reply.get()), sizeof window);
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, window,
                        atomNamed(m_connection, "_NET_WM_USER_TIME"), XCB_ATOM_CARDINAL, 32, 1,
                        &time);
}

void XStartup::send(xcb_client_message_event_t message, uint32_t mask)
{
    xcb_send_event(m_connection, false, rootOf(m_connection, m_screen), mask,
                   reinterpret_cast<const char *>(&message));
}

// In slices of what one message holds, with the NUL at the end.
void XStartup::broadcast(xcb_window_t window, const QByteArray &text)
{
    xcb_client_message_event_t message = {};
    constexpr int slice = sizeof message.data.data8;
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 8;
    message.window = window;
    message.type = atomNamed(m_connection, "_NET_STARTUP_INFO_BEGIN");
    const xcb_atom_t next = atomNamed(m_connection, "_NET_STARTUP_INFO");
    for (int at = 0; at <= text.size(); at += slice) {
        const QByteArray part = text.mid(at, slice).leftJustified(slice, '\0');
        std::memcpy(message.data.data8, part.constData(), slice);
        send(message, XCB_EVENT_MASK_PROPERTY_CHANGE);
        message.type = next;
    }
}
