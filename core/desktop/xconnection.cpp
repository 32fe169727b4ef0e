#include "xconnection.h"

xcb_atom_t atomNamed(xcb_connection_t *connection, const QByteArray &name)
{
    const auto cookie = xcb_intern_atom(connection, false, uint16_t(name.size()), name.constData());
    const ReplyPointer<xcb_intern_atom_reply_t> reply(
        xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t(XCB_NONE);
}

xcb_window_t rootOf(xcb_connection_t *connection, int screen)
{
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screen && screens.rem > 1; ++i)
        xcb_screen_next(&screens);
    return screens.data->root;
}
