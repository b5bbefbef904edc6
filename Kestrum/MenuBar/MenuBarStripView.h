// SPDX-License-Identifier: MIT
#pragma once

#include "Kestrum/MenuBar/ItemSlides.h"
#include "KestrumShared/Items/SampleReadings.h"
#include "KestrumShared/Items/StripScene.h"
#include "KestrumShared/Settings/SignalListener.h"

#include <QHash>
#include <QList>
#include <QWidget>
#include <optional>

namespace kestrum {

/// The row of menu-bar items as the agent shows it, drawn from sample readings. The user orders the items here, by dragging them
/// sideways or with Alt and the arrow keys; the order is stored when an item is dropped or moved by a key. Every change of the
/// shared settings and the agent's signal `menuBarChanged` rebuild the row. Items slide to their new places (`ItemSlides`).
///
/// There are two coordinate systems. The frames of items are in *strip* coordinates: fractional points, with the origin at the
/// bottom left of the first item. Qt uses *widget* coordinates from the top left. The widget is larger than the row by `room` on
/// each side, so that backdrops and focus rings are never clipped.
class MenuBarStripView final : public QWidget {
    Q_OBJECT
public:
    using Item = StripScene::Item;

    /// The widget's space around the row of items, on each side.
    static constexpr QSize room { 7, 3 };

    explicit MenuBarStripView(QWidget* parent = nullptr);

    /// Builds the items anew from the settings. A drag in progress continues.
    void rebuild();
    /// Builds the items in `order`, which may differ from the stored order.
    void rebuild(const QList<MonitorSection>& order, const Appearance& appearance = Appearance::current());

    /// Size of the row of items, without `room`.
    QSizeF intrinsicContentSize() const { return m_scene.items().size(); }
    QSize sizeHint() const override { return m_scene.size(); }
    QSize minimumSizeHint() const override { return sizeHint(); }

    /// The visible items, left to right.
    const QList<Item>& items() const { return m_scene.items().list(); }
    const Item* item(MonitorSection section) const { return m_scene.items().item(section); }
    /// The item at a point in strip coordinates, null when there is none.
    const Item* item(const QPointF& at) const { return m_scene.items().item(at); }

    /// The text that the item shows beside its meter; empty if the item shows none.
    QString readoutText(MonitorSection section) const { return m_scene.readoutText(section); }

    /// A hint how to move an item, in the interface language.
    static QString moveHint();

    QPointF stripPoint(const QPointF& widgetPoint) const { return m_scene.stripPoint(widgetPoint); }
    QRectF widgetRect(const QRectF& stripRect) const { return m_scene.widgetRect(stripRect); }
    /// The rectangle in which an item and its backdrop are drawn, in widget coordinates.
    QRectF backdropRect(const Item& item) const { return m_scene.ground(item); }

    std::optional<MonitorSection> hovered() const { return m_scene.hovered(); }
    std::optional<MonitorSection> dragged() const { return m_scene.dragged(); }
    /// The item that keys act on while the strip has the keyboard focus; none if the strip is empty.
    std::optional<MonitorSection> focused() const;

    /// Moves the dragged item to the pointer. Does nothing if no item is being dragged.
    void drag(const QPointF& widgetPoint);

Q_SIGNALS:
    void rebuilt();
    void dragMoved(QPointF widgetPoint);
    /// An item got the focus and should be in view; `rect` is in widget coordinates.
    void itemFocused(QRectF rect);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

private:
    QHash<MonitorSection, double> shownLefts() const;
    void slideFrom(const QHash<MonitorSection, double>& lefts);
    void redrawFocused();
    void adoptStored(const QHash<MonitorSection, double>& lefts);
    void focusItem(int index);
    void moveFocusedItem(int step);
    void describe(const Appearance& appearance);

    StripScene m_scene;
    ItemSlides m_slides;
    std::optional<MonitorSection> m_focused;
    bool m_showsFocus = false;
    SignalListener m_barListener;
};

} // namespace kestrum
