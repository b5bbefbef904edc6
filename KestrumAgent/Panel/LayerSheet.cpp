// SPDX-License-Identifier: MIT
#include "KestrumAgent/Panel/LayerSheet.h"

#include "KestrumAgent/Panel/LayerSurface.h"
#include "KestrumAgent/Panel/WaylandGlobals.h"

#include <QDir>
#include <QTemporaryFile>
#include <utility>
#include <viewporter-client-protocol.h>
#include <wlr-layer-shell-client-protocol.h>

namespace kestrum {

namespace {

/// The seat's first version has all that the sheet needs: entering, leaving and presses.
constexpr uint32_t firstVersion = 1;

template <class Object> Object* bound(const wl_interface& interface)
{
    return static_cast<Object*>(WaylandGlobals::bind(interface, firstVersion));
}

/// The compositor's objects for all sheets of this process. They stay, because the compositor forgets none of them anyway.
struct SheetGlobals {
    wl_compositor* compositor = bound<wl_compositor>(wl_compositor_interface);
    wl_shm* memory = bound<wl_shm>(wl_shm_interface);
    wp_viewporter* viewporter = bound<wp_viewporter>(wp_viewporter_interface);

    static const SheetGlobals& shared()
    {
        static const SheetGlobals globals;
        return globals;
    }
};

/// A transparent picture. A new file's content is zeros, which stand for transparent pixels. Null if there is no file.
wl_buffer* transparentBuffer(QSize size)
{
    QTemporaryFile file(
        qEnvironmentVariable("XDG_RUNTIME_DIR", QDir::tempPath()) + QStringLiteral("/kestrum-sheet-XXXXXX"));
    const int row = size.width() * 4;
    if (!file.open() || !file.resize(qint64(row) * size.height()))
        return nullptr;
    wl_shm_pool* const pool
        = wl_shm_create_pool(SheetGlobals::shared().memory, file.handle(), row * size.height());
    wl_buffer* const buffer
        = wl_shm_pool_create_buffer(pool, 0, size.width(), size.height(), row, WL_SHM_FORMAT_ARGB8888);
    wl_shm_pool_destroy(pool);
    return buffer;
}

} // namespace

/// All that the compositor holds for one sheet.
struct LayerSheet::Wayland {
    explicit Wayland(LayerSheet& owner)
        : sheet(owner)
        , seat(bound<wl_seat>(wl_seat_interface))
    {
        static constexpr wl_seat_listener ofSeat {
            [](void* self, wl_seat*, uint32_t can) { static_cast<Wayland*>(self)->adoptDevices(can); },
            [](void*, wl_seat*, const char*) {},
        };
        if (seat)
            wl_seat_add_listener(seat, &ofSeat, this);
    }
    ~Wayland()
    {
        if (pointer)
            wl_pointer_destroy(pointer);
        if (touch)
            wl_touch_destroy(touch);
        if (seat)
            wl_seat_destroy(seat);
        if (viewport)
            wp_viewport_destroy(viewport);
        if (layer)
            zwlr_layer_surface_v1_destroy(layer);
        if (surface)
            wl_surface_destroy(surface);
        if (buffer)
            wl_buffer_destroy(buffer);
    }
    Q_DISABLE_COPY_MOVE(Wayland)

    void adoptDevices(uint32_t can);
    /// Shows a picture on the whole sheet.
    void attach(QSize size);

    LayerSheet& sheet;
    wl_seat* seat;
    wl_pointer* pointer = nullptr;
    wl_touch* touch = nullptr;
    bool isPointed = false;
    wl_surface* surface = nullptr;
    zwlr_layer_surface_v1* layer = nullptr;
    wp_viewport* viewport = nullptr;
    wl_buffer* buffer = nullptr;
};

void LayerSheet::Wayland::adoptDevices(uint32_t can)
{
    // Later versions of the seat have more events, which this version never sends.
    static const wl_pointer_listener ofPointer = [] {
        wl_pointer_listener listener {};
        listener.enter = [](void* self, wl_pointer*, uint32_t, wl_surface* entered, wl_fixed_t, wl_fixed_t) {
            auto& wayland = *static_cast<Wayland*>(self);
            wayland.isPointed = entered == wayland.surface;
        };
        listener.leave = [](void* self, wl_pointer*, uint32_t, wl_surface*) {
            static_cast<Wayland*>(self)->isPointed = false;
        };
        listener.motion = [](void*, wl_pointer*, uint32_t, wl_fixed_t, wl_fixed_t) {};
        listener.button = [](void* self, wl_pointer*, uint32_t, uint32_t, uint32_t, uint32_t state) {
            auto& wayland = *static_cast<Wayland*>(self);
            if (wayland.isPointed && state == WL_POINTER_BUTTON_STATE_PRESSED)
                Q_EMIT wayland.sheet.pressed();
        };
        listener.axis = [](void*, wl_pointer*, uint32_t, uint32_t, wl_fixed_t) {};
        return listener;
    }();
    static const wl_touch_listener ofTouch = [] {
        wl_touch_listener listener {};
        listener.down = [](void* self, wl_touch*, uint32_t, uint32_t, wl_surface* touched, int32_t,
                            wl_fixed_t, wl_fixed_t) {
            auto& wayland = *static_cast<Wayland*>(self);
            if (touched == wayland.surface)
                Q_EMIT wayland.sheet.pressed();
        };
        listener.up = [](void*, wl_touch*, uint32_t, uint32_t, int32_t) {};
        listener.motion = [](void*, wl_touch*, uint32_t, int32_t, wl_fixed_t, wl_fixed_t) {};
        listener.frame = [](void*, wl_touch*) {};
        listener.cancel = [](void*, wl_touch*) {};
        return listener;
    }();
    if ((can & WL_SEAT_CAPABILITY_POINTER) && !pointer) {
        pointer = wl_seat_get_pointer(seat);
        wl_pointer_add_listener(pointer, &ofPointer, this);
    }
    if ((can & WL_SEAT_CAPABILITY_TOUCH) && !touch) {
        touch = wl_seat_get_touch(seat);
        wl_touch_add_listener(touch, &ofTouch, this);
    }
}

void LayerSheet::Wayland::attach(QSize size)
{
    // Without a viewport, the compositor cannot enlarge a picture.
    const bool isNew = !buffer || !viewport;
    if (isNew) {
        if (buffer)
            wl_buffer_destroy(buffer);
        buffer = transparentBuffer(viewport ? QSize(1, 1) : size);
    }
    if (viewport)
        wp_viewport_set_destination(viewport, size.width(), size.height());
    wl_surface_attach(surface, buffer, 0, 0);
    wl_surface_damage(surface, 0, 0, size.width(), size.height());
}

LayerSheet::LayerSheet(const QScreen* screen, QObject* parent)
    : QObject(parent)
    , m_wayland(std::make_unique<Wayland>(*this))
{
    const SheetGlobals& globals = SheetGlobals::shared();
    if (!globals.compositor || !globals.memory)
        return;
    m_wayland->surface = wl_compositor_create_surface(globals.compositor);
    if (globals.viewporter)
        m_wayland->viewport = wp_viewporter_get_viewport(globals.viewporter, m_wayland->surface);
    m_wayland->layer = zwlr_layer_shell_v1_get_layer_surface(LayerSurface::layerShell(), m_wayland->surface,
        LayerSurface::outputOf(screen), ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY, "kestrum");
    static constexpr zwlr_layer_surface_v1_listener listener {
        [](void* self, zwlr_layer_surface_v1*, uint32_t serial, uint32_t width, uint32_t height) {
            static_cast<LayerSheet*>(self)->configure(serial, QSize(int(width), int(height)));
        },
        [](void*, zwlr_layer_surface_v1*) {}, // the windows above the sheet are closed too, and tell
    };
    zwlr_layer_surface_v1_add_listener(m_wayland->layer, &listener, this);
    zwlr_layer_surface_v1_set_anchor(m_wayland->layer,
        ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP | ZWLR_LAYER_SURFACE_V1_ANCHOR_BOTTOM
            | ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT | ZWLR_LAYER_SURFACE_V1_ANCHOR_RIGHT);
    wl_surface_commit(m_wayland->surface);
    wl_display_flush(WaylandGlobals::display());
}

LayerSheet::~LayerSheet() = default;

void LayerSheet::configure(uint32_t serial, QSize size)
{
    zwlr_layer_surface_v1_ack_configure(m_wayland->layer, serial);
    // To show a picture of no size is an error that ends the process.
    if (size.isEmpty())
        return;
    const bool isOther = std::exchange(m_size, size) != size;
    m_wayland->attach(size);
    adoptHoles();
    if (isOther)
        Q_EMIT resized();
}

void LayerSheet::setHoles(const QList<QRect>& holes)
{
    if (holes == m_holes)
        return;
    m_holes = holes;
    if (!m_size.isEmpty())
        adoptHoles();
}

void LayerSheet::adoptHoles() const
{
    wl_region* const region = wl_compositor_create_region(SheetGlobals::shared().compositor);
    wl_region_add(region, 0, 0, m_size.width(), m_size.height());
    for (const QRect& hole : m_holes)
        wl_region_subtract(region, hole.x(), hole.y(), hole.width(), hole.height());
    wl_surface_set_input_region(m_wayland->surface, region);
    wl_region_destroy(region);
    wl_surface_commit(m_wayland->surface);
    wl_display_flush(WaylandGlobals::display());
}

} // namespace kestrum
