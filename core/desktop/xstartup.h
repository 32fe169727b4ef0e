#pragma once

#include <QByteArray>

#include <xcb/xcb.h>

// A start or an activation that somebody has asked the desktop for, on X. The desktop knows it by
// its id, which ends with the moment at which the person asked: what has the focus since an earlier
// moment gives way.
class XStartup final
{
public:
    explicit XStartup(const QByteArray &id);
    ~XStartup();
    XStartup(const XStartup &) = delete;
    XStartup &operator=(const XStartup &) = delete;

    void announce(xcb_window_t window); // before the window is shown
    void finish(xcb_window_t window);   // it is shown: give it the focus, and end the busy cursor

private:
    bool isConnected() const; // a display takes only so many
    void setUserTime(xcb_window_t window, uint32_t time);
    void send(xcb_client_message_event_t message, uint32_t mask);
    void broadcast(xcb_window_t window, const QByteArray &text);

    const QByteArray m_id;
    int m_screen = 0;
    xcb_connection_t *m_connection;
};
