// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>
#include <cstdlib>
#include <xcb/xcb.h>

namespace kestrum {

/// What a screen locker does first, and a window manager for its shortcuts: takes the keyboard and the pointer for itself.
struct InputGrabs {
    xcb_connection_t* display = xcb_connect(nullptr, nullptr);
    bool hasBoth = false;

    InputGrabs()
    {
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(display)).data->root;
        const auto keyboard
            = xcb_grab_keyboard(display, 1, root, XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        const auto pointer = xcb_grab_pointer(display, 1, root, XCB_EVENT_MASK_BUTTON_PRESS,
            XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, XCB_CURRENT_TIME);
        auto* ofKeyboard = xcb_grab_keyboard_reply(display, keyboard, nullptr);
        auto* ofPointer = xcb_grab_pointer_reply(display, pointer, nullptr);
        hasBoth = ofKeyboard && ofKeyboard->status == XCB_GRAB_STATUS_SUCCESS && ofPointer
            && ofPointer->status == XCB_GRAB_STATUS_SUCCESS;
        std::free(ofKeyboard);
        std::free(ofPointer);
    }
    /// Both have ended when it returns: keys that come then go to a window.
    ~InputGrabs()
    {
        xcb_ungrab_keyboard(display, XCB_CURRENT_TIME);
        xcb_ungrab_pointer(display, XCB_CURRENT_TIME);
        std::free(xcb_get_input_focus_reply(display, xcb_get_input_focus(display), nullptr));
        xcb_disconnect(display);
    }
    Q_DISABLE_COPY_MOVE(InputGrabs)
};

} // namespace kestrum
