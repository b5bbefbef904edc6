// SPDX-License-Identifier: MIT
#pragma once

#include <QMargins>
#include <QObject>
#include <QPointer>
#include <QSize>
#include <QWidget>
#include <cstdint>
#include <memory>

struct wl_output;
struct zwlr_layer_shell_v1;
struct zwlr_layer_surface_v1;

namespace kestrum {

class KeyboardLoss;

/// Shows a widget as a Wayland layer surface, a role that Qt does not support. The widget becomes a window without a role
/// from Qt, and this class sets the role. The widget is painted only after the compositor has set its size. A layer surface
/// has no screen coordinates: it is anchored, with margins, to edges of the area that panels leave free.
class LayerSurface final : public QObject {
    Q_OBJECT
public:
    /// Below windows, like most panels; above them; above all, also above full screens.
    enum class Layer { bottom, panel, overlay };
    /// Who gets the keyboard's input while the surface is shown: others; only the surface; or the surface when the user
    /// turns to it. Old compositors do not know the last one and leave the keyboard to others.
    enum class Keyboard { none, exclusive, onDemand };

    struct Place {
        Layer layer = Layer::panel;
        /// The edges to which the surface is anchored. Between two opposite edges, a size of 0 means the whole distance.
        Qt::Edges edges;
        QMargins margins;
        Keyboard keyboard = Keyboard::none;
        /// The screen for a surface that is not shown yet; null leaves the choice to the compositor.
        const QScreen* screen = nullptr;
        /// How much room to reserve at the edge, so that other windows leave it free. The surface must be anchored to this
        /// edge and to both that meet it.
        int reserved = 0;

        bool operator==(const Place&) const = default;
    };

    /// Whether this desktop supports layer surfaces. The first call asks the compositor; later calls return the same answer.
    static bool isSupported();
    /// The compositor's layer shell; null if the compositor has none.
    static zwlr_layer_shell_v1* layerShell();
    /// The compositor's object for a screen; null if there is none, as for the toolkit's placeholder.
    static wl_output* outputOf(const QScreen* screen);

    /// `widget` must outlive this object, and must be shown and hidden only by this object.
    explicit LayerSurface(QWidget& widget);
    ~LayerSurface() override;

    /// Whether the surface is shown and the compositor has set its size.
    bool isConfigured() const { return m_isConfigured; }
    /// Shows the surface at `place`. A surface that is shown already gets the new size and place. On old compositors, its layer
    /// does not change.
    void show(const Place& place, QSize size);
    void hide();

Q_SIGNALS:
    /// The compositor closed the surface, for example because its screen was removed. The widget is hidden already.
    void closed();
    /// Something took the keyboard from a surface that had it for itself, if only for a moment. This is usually a screen locker,
    /// which some compositors show below the surface and without the keyboard: so the surface should hide. Connect queued.
    void keyboardLost();

private:
    void arrange(const Place& place, QSize size);
    void configure(uint32_t serial, QSize size);
    void adoptScale();

    QWidget& m_widget;
    Place m_place;
    QSize m_size;
    bool m_isConfigured = false;
    QPointer<const QScreen> m_screen; ///< where it was shown
    double m_scale = 0;               ///< the screen's then
    QMetaObject::Connection m_screenConnection;
    std::unique_ptr<KeyboardLoss> m_keyboardLoss; ///< while the keyboard is the surface's own
    zwlr_layer_surface_v1* m_surface = nullptr;
};

} // namespace kestrum
