// SPDX-License-Identifier: MIT
#include "KestrumAgent/Panel/LayerSurface.h"

#include "KestrumAgent/Panel/KeyboardLoss.h"
#include "KestrumAgent/Panel/WaylandGlobals.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>
#include <qpa/qplatformnativeinterface.h>
#include <wlr-layer-shell-client-protocol.h>

namespace kestrum {

namespace {

/// The newest version of the protocol that this code was written for.
constexpr uint32_t newestVersion = 4;

wl_surface* surfaceOf(QWidget& widget)
{
    return static_cast<wl_surface*>(QGuiApplication::platformNativeInterface()->nativeResourceForWindow(
        "surface", widget.windowHandle()));
}

uint32_t anchors(Qt::Edges edges)
{
    return (edges & Qt::TopEdge ? uint32_t(ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP) : 0)
        | (edges & Qt::BottomEdge ? uint32_t(ZWLR_LAYER_SURFACE_V1_ANCHOR_BOTTOM) : 0)
        | (edges & Qt::LeftEdge ? uint32_t(ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT) : 0)
        | (edges & Qt::RightEdge ? uint32_t(ZWLR_LAYER_SURFACE_V1_ANCHOR_RIGHT) : 0);
}

uint32_t layerNumber(LayerSurface::Layer layer)
{
    switch (layer) {
    case LayerSurface::Layer::bottom:
        return ZWLR_LAYER_SHELL_V1_LAYER_BOTTOM;
    case LayerSurface::Layer::panel:
        return ZWLR_LAYER_SHELL_V1_LAYER_TOP;
    case LayerSurface::Layer::overlay:
        break;
    }
    return ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY;
}

uint32_t keyboardNumber(LayerSurface::Keyboard keyboard, uint32_t version)
{
    if (keyboard == LayerSurface::Keyboard::exclusive)
        return ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_EXCLUSIVE;
    const bool isOnDemand = keyboard == LayerSurface::Keyboard::onDemand
        && version >= ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_ON_DEMAND_SINCE_VERSION;
    return isOnDemand ? uint32_t(ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_ON_DEMAND)
                      : uint32_t(ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_NONE);
}

} // namespace

zwlr_layer_shell_v1* LayerSurface::layerShell()
{
    static auto* const shell = static_cast<zwlr_layer_shell_v1*>(
        WaylandGlobals::bind(zwlr_layer_shell_v1_interface, newestVersion));
    return shell;
}

wl_output* LayerSurface::outputOf(const QScreen* screen)
{
    return screen
        ? static_cast<wl_output*>(QGuiApplication::platformNativeInterface()->nativeResourceForScreen(
            "output", const_cast<QScreen*>(screen)))
        : nullptr;
}

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
    if (m_surface && place.screen != m_place.screen)
        hide(); // a surface stays on its screen
    if (m_surface) {
        if (size != m_size || place != m_place)
            arrange(place, size);
        return;
    }
    m_widget.resize(size.expandedTo({ 1, 1 }));
    // Else the widget would be drawn at first for the scale of the main screen.
    if (place.screen)
        m_widget.setScreen(const_cast<QScreen*>(place.screen));
    m_widget.winId();
    // The widget must not be painted before the compositor has set the surface's size.
    m_widget.setUpdatesEnabled(false);
    m_widget.show();
    wl_surface* const surface = surfaceOf(m_widget);
    if (!surface) {
        m_widget.hide();
        return;
    }
    m_surface = zwlr_layer_shell_v1_get_layer_surface(
        layerShell(), surface, outputOf(place.screen), layerNumber(place.layer), "kestrum");
    m_place.layer = place.layer;
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
    m_screen = place.screen;
    m_scale = m_screen ? m_screen->devicePixelRatio() : 0;
    // Not from within the signal: others of ours hear it too.
    if (m_screen)
        m_screenConnection = connect(
            m_screen, &QScreen::geometryChanged, this, &LayerSurface::adoptScale, Qt::QueuedConnection);
    arrange(place, size);
}

/// Another scale changes the screen's size in points. The toolkit asks for a window's scale only when the window comes to a screen,
/// and would go on with an enlarged picture: so the window comes anew.
void LayerSurface::adoptScale()
{
    if (!m_surface || !m_screen || m_scale == m_screen->devicePixelRatio())
        return;
    const Place place = m_place;
    const QSize size = m_size;
    hide();
    m_widget.windowHandle()->destroy(); // it keeps the scale
    show(place, size);
}

void LayerSurface::arrange(const Place& place, QSize size)
{
    const uint32_t version = zwlr_layer_surface_v1_get_version(m_surface);
    if (place.layer != m_place.layer && version >= ZWLR_LAYER_SURFACE_V1_SET_LAYER_SINCE_VERSION)
        zwlr_layer_surface_v1_set_layer(m_surface, layerNumber(place.layer));
    m_place = place;
    m_size = size;
    zwlr_layer_surface_v1_set_size(m_surface, uint32_t(size.width()), uint32_t(size.height()));
    zwlr_layer_surface_v1_set_anchor(m_surface, anchors(place.edges));
    zwlr_layer_surface_v1_set_margin(
        m_surface, place.margins.top(), place.margins.right(), place.margins.bottom(), place.margins.left());
    zwlr_layer_surface_v1_set_exclusive_zone(m_surface, place.reserved);
    zwlr_layer_surface_v1_set_keyboard_interactivity(m_surface, keyboardNumber(place.keyboard, version));
    wl_surface_commit(surfaceOf(m_widget));
    wl_display_flush(WaylandGlobals::display());
    if (place.keyboard != Keyboard::exclusive) {
        m_keyboardLoss.reset();
    } else if (!m_keyboardLoss) {
        m_keyboardLoss = std::make_unique<KeyboardLoss>(surfaceOf(m_widget));
        connect(m_keyboardLoss.get(), &KeyboardLoss::lost, this, &LayerSurface::keyboardLost);
    }
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
    disconnect(m_screenConnection);
    m_keyboardLoss.reset();
    zwlr_layer_surface_v1_destroy(m_surface);
    m_surface = nullptr;
    m_isConfigured = false;
    m_widget.hide();
}

} // namespace kestrum
