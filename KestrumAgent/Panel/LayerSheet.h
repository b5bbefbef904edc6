// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QObject>
#include <QPointF>
#include <QRect>
#include <QSize>
#include <memory>

class QScreen;
struct wl_surface;
struct zwlr_layer_surface_v1;

namespace kestrum {

/// An invisible Wayland layer surface over the whole area that panels leave free. It catches presses beside our windows,
/// which a program cannot hear of otherwise. The sheet's picture is one transparent pixel that the compositor enlarges; a
/// picture of the whole area would take 33 MB on a large screen. The toolkit does not know the sheet.
class LayerSheet final : public QObject {
    Q_OBJECT
public:
    /// Use it only if `LayerSurface::isSupported()` is true. The sheet is shown on `screen` until it is destroyed.
    explicit LayerSheet(const QScreen* screen, QObject* parent = nullptr);
    ~LayerSheet() override;

    /// The sheet's size in points; empty before the compositor has set it.
    QSize size() const { return m_size; }
    /// Sets the parts of the sheet that let presses through, in points from its top left corner.
    void setHoles(const QList<QRect>& holes);

Q_SIGNALS:
    /// The sheet was pressed by any button or a finger.
    void pressed();
    void resized();

private:
    struct Wayland;

    void configure(uint32_t serial, QSize size);
    void adoptHoles() const;

    std::unique_ptr<Wayland> m_wayland;
    QSize m_size;
    QList<QRect> m_holes;
};

} // namespace kestrum
