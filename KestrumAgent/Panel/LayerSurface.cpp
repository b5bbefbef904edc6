// SPDX-License-Identifier: MIT
#include "KestrumAgent/Panel/LayerSurface.h"

#include <QGuiApplication>
#include <QWindow>
#include <algorithm>
#include <cstring>
#include <qpa/qplatformnativeinterface.h>
#include <wlr-layer-shell-client-protocol.h>

namespace kestrum {

namespace {

/// The newest version of the protocol that this code was written for.
constexpr uint32_t newestVersion = 4;

wl_display* display()
{
    return static_cast<wl_display*>(
        QGuiApplication::platformNativeInterface()->nativeResourceForIntegration("wl_display"));
}

wl_surface* surfaceOf(QWidget& widget)
{
    return static_cast<wl_surface*>(QGuiApplication::platformNativeInterface()->nativeResourceForWindow(
        "surface", widget.windowHandle()));
}

/// The compositor's layer shell; null if the compositor has none.
zwlr_layer_shell_v1* found()
{
    wl_display* const connection = display();
    if (!connection)
        return nullptr;
    // The code below waits for the answer. With a separate event queue, Qt's event handlers do not run meanwhile.
    wl_event_queue* const queue = wl_display_create_queue(connection);
    auto* const asking = static_cast<wl_display*>(wl_proxy_create_wrapper(connection));
    wl_proxy_set_queue(reinterpret_cast<wl_proxy*>(asking), queue);
    wl_registry* const registry = wl_display_get_registry(asking);
    wl_proxy_wrapper_destroy(asking);

    static constexpr wl_registry_listener listener {
        [](void* data, wl_registry* from, uint32_t name, const char* interface, uint32_t version) {
            if (std::strcmp(interface, zwlr_layer_shell_v1_interface.name) == 0)
                *static_cast<void**>(data) = wl_registry_bind(
                    from, name, &zwlr_layer_shell_v1_interface, std::min(version, newestVersion));
        },
        [](void*, wl_registry*, uint32_t) {},
    };
    void* bound = nullptr;
    wl_registry_add_listener(registry, &listener, static_cast<void*>(&bound));
    wl_display_roundtrip_queue(connection, queue);
    auto* const shell = static_cast<zwlr_layer_shell_v1*>(bound);
    // Later events of the layer shell go to the default queue, which Qt dispatches.
    if (shell)
        wl_proxy_set_queue(reinterpret_cast<wl_proxy*>(shell), nullptr);
    wl_registry_destroy(registry);
    wl_event_queue_destroy(queue);
    return shell;
}

zwlr_layer_shell_v1* layerShell()
{
    static zwlr_layer_shell_v1* const shell = found();
    return shell;
}

uint32_t anchors(Qt::Edges edges)
{
    return (edges & Qt::TopEdge ? uint32_t(ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP) : 0)
        | (edges & Qt::BottomEdge ? uint32_t(ZWLR_LAYER_SURFACE_V1_ANCHOR_BOTTOM) : 0)
        | (edges & Qt::LeftEdge ? uint32_t(ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT) : 0)
        | (edges & Qt::RightEdge ? uint32_t(ZWLR_LAYER_SURFACE_V1_ANCHOR_RIGHT) : 0);
}

} // namespace

bool LayerSurface::isSupported()
{
    return layerShell() != nullptr;
}

LayerSurface::LayerSurface(QWidget& widget)
    : m_widget(widget)
{
    m_widget.setWindowFlags(Qt::Window | Qt::FramelessWindowHint | Qt::BypassWindowManagerHint);
    m_widget.setAttribute(Qt::WA_ShowWithoutActivating);
}

LayerSurface::~LayerSurface()
{
    hide();
}

void LayerSurface::show(const Place& place, QSize size)
{
    if (m_surface) {
        if (size != m_size || place != m_place)
            arrange(place, size);
        return;
    }
    m_widget.resize(size.expandedTo({ 1, 1 }));
    m_widget.winId();
    // The widget must not be painted before the compositor has set the surface's size.
    m_widget.setUpdatesEnabled(false);
    m_widget.show();
    wl_surface* const surface = surfaceOf(m_widget);
    if (!surface) {
        m_widget.hide();
        return;
    }
    m_surface = zwlr_layer_shell_v1_get_layer_surface(layerShell(), surface, nullptr,
        place.layer == Layer::overlay ? ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY : ZWLR_LAYER_SHELL_V1_LAYER_TOP,
        "kestrum");
    static constexpr zwlr_layer_surface_v1_listener listener {
        [](void* self, zwlr_layer_surface_v1*, uint32_t serial, uint32_t width, uint32_t height) {
            static_cast<LayerSurface*>(self)->configure(serial, QSize(int(width), int(height)));
        },
        [](void* self, zwlr_layer_surface_v1*) {
            static_cast<LayerSurface*>(self)->hide();
            Q_EMIT static_cast<LayerSurface*>(self)->closed();
        },
    };
    zwlr_layer_surface_v1_add_listener(m_surface, &listener, this);
    arrange(place, size);
}

void LayerSurface::arrange(const Place& place, QSize size)
{
    m_place = place;
    m_size = size;
    zwlr_layer_surface_v1_set_size(m_surface, uint32_t(size.width()), uint32_t(size.height()));
    zwlr_layer_surface_v1_set_anchor(m_surface, anchors(place.edges));
    zwlr_layer_surface_v1_set_margin(
        m_surface, place.margins.top(), place.margins.right(), place.margins.bottom(), place.margins.left());
    zwlr_layer_surface_v1_set_exclusive_zone(m_surface, 0);
    zwlr_layer_surface_v1_set_keyboard_interactivity(m_surface,
        place.takesKeyboard ? ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_EXCLUSIVE
                            : ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_NONE);
    wl_surface_commit(surfaceOf(m_widget));
    wl_display_flush(display());
}

void LayerSurface::configure(uint32_t serial, QSize size)
{
    zwlr_layer_surface_v1_ack_configure(m_surface, serial);
    m_isConfigured = true;
    m_widget.resize(size.isEmpty() ? m_size : size);
    m_widget.setUpdatesEnabled(true);
    m_widget.update();
}

void LayerSurface::hide()
{
    if (!m_surface)
        return;
    zwlr_layer_surface_v1_destroy(m_surface);
    m_surface = nullptr;
    m_isConfigured = false;
    m_widget.hide();
}

} // namespace kestrum
