// SPDX-License-Identifier: MIT
#pragma once

#include <QMargins>
#include <QObject>
#include <QSize>
#include <QWidget>
#include <cstdint>

struct zwlr_layer_surface_v1;

namespace kestrum {

/// A widget as a surface in one of the layers of a Wayland desktop, which Qt knows nothing of. The widget is made a window
/// without a role of Qt's, and is given the layer's role; it can be painted when the desktop has told its size. There are
/// no places on a screen: a surface holds on to edges of what panels leave free, with margins.
class LayerSurface final : public QObject {
    Q_OBJECT
public:
    enum class Layer { panel, overlay };

    struct Place {
        Layer layer = Layer::panel;
        /// Edges to hold on to. A size of 0 in a direction whose two edges are held is all there is.
        Qt::Edges edges;
        QMargins margins;
        /// Whether the surface takes the keyboard for itself as long as it is shown.
        bool takesKeyboard = false;

        bool operator==(const Place&) const = default;
    };

    /// Whether this desktop has layers. Asks it at the first call.
    static bool isSupported();

    /// The widget outlives the surface, and is shown and hidden by it alone.
    explicit LayerSurface(QWidget& widget);
    ~LayerSurface() override;

    /// Whether the desktop has told the size of the surface that is shown.
    bool isConfigured() const { return m_isConfigured; }
    /// Asks for the surface at `place`, or, where it is shown already, for another size and place in its layer.
    void show(const Place& place, QSize size);
    void hide();

    /// Called by the protocol's events.
    void configure(uint32_t serial, QSize size);
    void close();

Q_SIGNALS:
    /// The desktop took the surface away, as it does when a screen goes. It is hidden now.
    void closed();

private:
    void arrange(const Place& place, QSize size);

    QWidget& m_widget;
    Place m_place;
    QSize m_size;
    bool m_isConfigured = false;
    zwlr_layer_surface_v1* m_surface = nullptr;
};

} // namespace kestrum
