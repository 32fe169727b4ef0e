#pragma once

#include <QByteArray>

#include <cstdlib>
#include <memory>

#include <xcb/xcb.h>

// What is needed of the X protocol where the toolkit keeps its own connection to itself.

struct FreeReply
{
    void operator()(void *reply) const { std::free(reply); }
};
template <typename Reply>
using ReplyPointer = std::unique_ptr<Reply, FreeReply>;

xcb_atom_t atomNamed(xcb_connection_t *connection, const QByteArray &name);
xcb_window_t rootOf(xcb_connection_t *connection, int screen);
