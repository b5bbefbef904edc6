#pragma once

#include <QColor>
#include <QList>
#include <QObject>
#include <QRect>
#include <QTimer>
#include <cstdlib>
#include <string_view>
#include <xcb/xcb.h>

namespace kestrum {

/// A panel's notification area on the test's X server, with a connection of its own. It takes in what asks for it while the
/// test's events are handled, and goes with this object.
class StandInArea {
public:
    struct Panel {
        int greatestWidth = 10'000; ///< that a window gets
        QColor foreground;          ///< invalid: the area tells no colours
        bool isComposited
            = false; ///< there is a compositing manager, and the area offers transparent windows
    };

    StandInArea()
        : StandInArea(Panel())
    {
    }
    explicit StandInArea(const Panel& panel)
        : m_panel(panel)
    {
        m_window = xcb_generate_id(m_server);
        const uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
        xcb_create_window(m_server, XCB_COPY_FROM_PARENT, m_window, m_screen->root, place.x(), place.y(),
            uint16_t(place.width()), uint16_t(place.height()), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
            XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
        xcb_map_window(m_server, m_window);
        if (panel.isComposited) {
            xcb_set_selection_owner(m_server, m_window, atom("_NET_WM_CM_S0"), XCB_CURRENT_TIME);
            setCardinals("_NET_SYSTEM_TRAY_VISUAL", { translucentVisual() });
        }
        if (panel.foreground.isValid())
            setForeground(panel.foreground);
        const xcb_atom_t selection = atom("_NET_SYSTEM_TRAY_S0");
        xcb_set_selection_owner(m_server, m_window, selection, XCB_CURRENT_TIME);
        xcb_client_message_event_t news {};
        news.response_type = XCB_CLIENT_MESSAGE;
        news.format = 32;
        news.window = m_screen->root;
        news.type = atom("MANAGER");
        news.data.data32[1] = selection;
        news.data.data32[2] = m_window;
        xcb_send_event(m_server, 0, m_screen->root, XCB_EVENT_MASK_STRUCTURE_NOTIFY,
            reinterpret_cast<const char*>(&news));
        xcb_flush(m_server);
        QObject::connect(&m_pump, &QTimer::timeout, &m_pump, [this] { serve(); });
        m_pump.start(5);
    }
    ~StandInArea() { xcb_disconnect(m_server); }
    Q_DISABLE_COPY_MOVE(StandInArea)

    static constexpr QRect place { 200, 700, 600, 28 };

    /// The windows that asked to be taken in.
    const QList<xcb_window_t>& docked() const { return m_docked; }

    /// As a panel at the beginning of a session: it takes nothing in.
    void setBusy(bool isBusy) { m_isBusy = isBusy; }
    /// What windows get when they ask the next time.
    void setGreatestWidth(int width) { m_panel.greatestWidth = width; }
    /// Makes the panel as high, and what comes later with it.
    void setHeight(int height)
    {
        m_height = height;
        const uint32_t value = uint32_t(height);
        xcb_configure_window(m_server, m_window, XCB_CONFIG_WINDOW_HEIGHT, &value);
        xcb_flush(m_server);
    }
    /// Gives the windows that it holds less room.
    void squeeze(int width)
    {
        m_panel.greatestWidth = width;
        for (const xcb_window_t window : m_docked)
            resize(window, width, m_height);
        xcb_flush(m_server);
    }
    /// Lets all windows go.
    void release()
    {
        for (const xcb_window_t window : m_docked) {
            xcb_unmap_window(m_server, window);
            xcb_reparent_window(m_server, window, m_screen->root, 0, 0);
        }
        m_docked.clear();
        xcb_flush(m_server);
    }

    void setForeground(const QColor& colour)
    {
        const QRgba64 deep = colour.rgba64();
        QList<uint32_t> values;
        for (int i = 0; i < 4; ++i)
            values += { deep.red(), deep.green(), deep.blue() };
        setCardinals("_NET_SYSTEM_TRAY_COLORS", values);
        xcb_flush(m_server);
    }

private:
    xcb_atom_t atom(std::string_view name)
    {
        auto* reply = xcb_intern_atom_reply(
            m_server, xcb_intern_atom(m_server, 0, uint16_t(name.size()), name.data()), nullptr);
        const xcb_atom_t found = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
        std::free(reply);
        return found;
    }
    void setCardinals(std::string_view name, const QList<uint32_t>& values)
    {
        xcb_change_property(m_server, XCB_PROP_MODE_REPLACE, m_window, atom(name), XCB_ATOM_CARDINAL, 32,
            uint32_t(values.size()), values.constData());
    }
    xcb_visualid_t translucentVisual() const
    {
        for (auto depth = xcb_screen_allowed_depths_iterator(m_screen); depth.rem; xcb_depth_next(&depth)) {
            if (depth.data->depth == 32)
                return xcb_depth_visuals_iterator(depth.data).data->visual_id;
        }
        return 0;
    }

    void resize(xcb_window_t window, int width, int height)
    {
        const uint32_t size[] = { uint32_t(std::min(width, m_panel.greatestWidth)), uint32_t(height) };
        xcb_configure_window(m_server, window, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, size);
    }
    void serve()
    {
        if (m_isBusy)
            return;
        while (auto* event = xcb_poll_for_event(m_server)) {
            const int type = event->response_type & 0x7F;
            if (type == XCB_CLIENT_MESSAGE) {
                const xcb_window_t window
                    = reinterpret_cast<const xcb_client_message_event_t*>(event)->data.data32[2];
                auto* size = xcb_get_geometry_reply(m_server, xcb_get_geometry(m_server, window), nullptr);
                // As real ones do: if the panel ends, the window survives it.
                xcb_change_save_set(m_server, XCB_SET_MODE_INSERT, window);
                xcb_reparent_window(m_server, window, m_window, 10, 0);
                if (size)
                    resize(window, size->width, m_height);
                xcb_map_window(m_server, window);
                std::free(size);
                m_docked.append(window);
            } else if (type == XCB_CONFIGURE_REQUEST) {
                const auto& asked = *reinterpret_cast<const xcb_configure_request_event_t*>(event);
                resize(asked.window, asked.width, m_height);
            } else if (type == XCB_MAP_REQUEST) {
                xcb_map_window(m_server, reinterpret_cast<const xcb_map_request_event_t*>(event)->window);
            }
            std::free(event);
        }
        xcb_flush(m_server);
    }

    Panel m_panel;
    xcb_connection_t* m_server = xcb_connect(nullptr, nullptr);
    xcb_screen_t* m_screen = xcb_setup_roots_iterator(xcb_get_setup(m_server)).data;
    xcb_window_t m_window = XCB_WINDOW_NONE;
    QList<xcb_window_t> m_docked;
    int m_height = place.height();
    bool m_isBusy = false;
    QTimer m_pump;
};

} // namespace kestrum
