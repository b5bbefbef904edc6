#pragma once

#include <QtGlobal>
#include <cstdlib>
#include <xcb/xcb.h>

namespace kestrum {

/// A window manager that is only starting: requests to show windows get lost.
class StartingManager {
public:
    StartingManager()
    {
        const uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT;
        xcb_change_window_attributes(m_server, xcb_setup_roots_iterator(xcb_get_setup(m_server)).data->root,
            XCB_CW_EVENT_MASK, &events);
        std::free(xcb_get_input_focus_reply(m_server, xcb_get_input_focus(m_server), nullptr)); // it has come
    }
    ~StartingManager() { xcb_disconnect(m_server); }
    Q_DISABLE_COPY_MOVE(StartingManager)

private:
    xcb_connection_t* m_server = xcb_connect(nullptr, nullptr);
};

} // namespace kestrum
