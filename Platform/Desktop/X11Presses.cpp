// SPDX-License-Identifier: MIT
#include "Platform/Desktop/X11Presses.h"

#include <QCursor>
#include <QGuiApplication>
#include <array>
#include <qguiapplication_platform.h>
#include <xcb/xcb.h>
#include <xcb/xinput.h>

namespace kestrum {

namespace {

/// How many objects hear presses. The whole connection has one selection, so it lasts from the first one to the last.
int listeners = 0;

/// The button of a raw event; nothing for a turn of the wheel, which the server reports as buttons too.
Qt::MouseButton buttonOf(uint32_t number)
{
    constexpr std::array buttons { Qt::NoButton, Qt::LeftButton, Qt::MiddleButton, Qt::RightButton,
        Qt::NoButton, Qt::NoButton, Qt::NoButton, Qt::NoButton };
    return number < buttons.size() ? buttons[number] : Qt::ExtraButton1;
}

} // namespace

X11Presses::X11Presses(QObject* parent)
    : QObject(parent)
{
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11 || !x11->connection())
        return;
    const auto* extension = xcb_get_extension_data(x11->connection(), &xcb_input_id);
    if (!extension || !extension->present)
        return;
    m_connection = x11->connection();
    m_extension = extension->major_opcode;
    // Raw events come also while another program has a grab. The toolkit has agreed on such a version of the extension.
    if (++listeners == 1)
        select(*m_connection,
            XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_TOUCH_BEGIN);
    qGuiApp->installNativeEventFilter(this);
}

X11Presses::~X11Presses()
{
    if (m_connection && --listeners == 0)
        select(*m_connection, 0);
}

/// Selects events of the root windows. The toolkit's own selections stay, because they are for another set of devices.
void X11Presses::select(xcb_connection_t& connection, quint32 events)
{
    struct {
        xcb_input_event_mask_t head;
        uint32_t mask;
    } const selection { { XCB_INPUT_DEVICE_ALL_MASTER, 1 }, events };
    for (auto screen = xcb_setup_roots_iterator(xcb_get_setup(&connection)); screen.rem;
         xcb_screen_next(&screen))
        xcb_input_xi_select_events(&connection, screen.data->root, 1, &selection.head);
    xcb_flush(&connection);
}

bool X11Presses::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*)
{
    if (eventType != "xcb_generic_event_t")
        return false;
    constexpr uint8_t sentByOthers = 0x80;
    const auto* event = static_cast<const xcb_ge_generic_event_t*>(message);
    if ((event->response_type & ~sentByOthers) != XCB_GE_GENERIC || event->extension != m_extension)
        return false;
    Qt::MouseButton button = Qt::NoButton;
    if (event->event_type == XCB_INPUT_RAW_BUTTON_PRESS)
        button = buttonOf(reinterpret_cast<const xcb_input_raw_button_press_event_t*>(event)->detail);
    else if (event->event_type == XCB_INPUT_RAW_TOUCH_BEGIN)
        button = Qt::LeftButton;
    else
        return false;
    // Raw events have no place: the server is asked where the pointer is, which has hardly moved since.
    if (button != Qt::NoButton)
        Q_EMIT pressed(QCursor::pos(), button);
    return false; // others may hear it too
}

} // namespace kestrum
