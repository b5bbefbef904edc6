// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <cstdlib>
#include <memory>
#include <xcb/xcb.h>

namespace kestrum {

struct XcbReplyRelease {
    void operator()(void* reply) const { std::free(reply); }
};

/// Owns a reply that an xcb function returned; null if there is no reply.
template <class Reply> using XcbReply = std::unique_ptr<Reply, XcbReplyRelease>;

/// The server's number for `name`; `XCB_ATOM_NONE` when the connection is broken.
inline xcb_atom_t xcbAtom(xcb_connection_t* connection, const QByteArray& name)
{
    const auto cookie = xcb_intern_atom(connection, 0, uint16_t(name.size()), name.constData());
    const XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

/// The server's screen that this process is on: the one that DISPLAY names, such as 1 in ":0.1".
inline xcb_screen_t* xcbScreen(xcb_connection_t* connection)
{
    char* host = nullptr;
    int display = 0;
    int number = 0;
    if (xcb_parse_display(nullptr, &host, &display, &number))
        std::free(host);
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (; number > 0 && screens.rem > 1; --number)
        xcb_screen_next(&screens);
    return screens.data;
}

} // namespace kestrum
