// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/StripItems.h"

#include <QImage>
#include <QMouseEvent>
#include <QObject>
#include <functional>

namespace kestrum {

/// A strip as both programs show it: its items, its reactions to the pointer, and its painting. A widget shows the scene,
/// passes its mouse events on, and decides when the items are created again. All points and rectangles are in the widget's
/// coordinates: points from the top left, with a margin around the row of items.
class StripScene final : public QObject {
    Q_OBJECT
public:
    using Item = StripItems::Item;

    /// `room` is the margin around the row of items: its width is left and right of the row, its height above and below.
    StripScene(std::shared_ptr<const MenuBarReadings> readings, QSize room);

    /// Creates the items again, in the stored order or in the given one. A drag in progress continues.
    void rebuild(const Appearance& appearance);
    void rebuild(const QList<MonitorSection>& order, const Appearance& appearance);

    const StripItems& items() const { return m_items; }
    /// The size of the whole widget.
    QSize size() const;

    /// Convert the widget's coordinates to those of `StripItems`, and back.
    QPointF stripPoint(const QPointF& point) const;
    QRectF widgetRect(const QRectF& stripRect) const;

    /// Sets a function that gives how far to the right of its position each item is drawn. It must not be empty. Until it
    /// is set, there is no offset.
    void setOffset(std::function<double(MonitorSection)> offset) { m_offset = std::move(offset); }
    /// The frame in which an item is drawn, and the area of its backdrop.
    QRectF frame(const Item& item) const;
    QRectF ground(const Item& item) const;

    std::optional<MonitorSection> hovered() const { return m_hovered; }
    std::optional<MonitorSection> dragged() const { return m_items.dragged(); }
    Qt::CursorShape cursor() const;

    /// The item at `point`; null if there is none or an item is being dragged.
    const Item* resting(const QPointF& point) const;
    /// Handle a pointer that moves without a button, or leaves. Both do nothing during a drag.
    void hover(const QPointF& point);
    void leave();
    /// Begins a drag if the left button is pressed on an item. Returns that item, or null.
    const Item* grab(const QMouseEvent& press);
    void drag(const QPointF& point);
    /// Ends the drag and stores the order when the left button is released. False without a drag, or for another button.
    bool drop(const QMouseEvent& release);
    /// Swaps the items at two indices, and stores the order.
    void move(int from, int to);

    /// The background of an item that is being dragged: only its backdrop, or also a piece of the plate with a shadow.
    enum class DragLook { backdrop, lifted };
    /// Paints the backdrops, and calls `drawItem` with each item and the position of its top left corner. The dragged item
    /// is painted last, above its neighbours.
    void paint(QPainter& painter, ColourScheme scheme, DragLook look,
        const std::function<void(const Item&, const QPointF&)>& drawItem) const;

    /// How far an item may draw beyond its frame's right edge, in points.
    static constexpr int spareWidth = 2;
    /// A picture of an item, `spareWidth` wider than its frame. `scale` is pixels per point.
    static QImage picture(const Item& item, ColourScheme scheme, double scale, const Appearance& appearance);

    /// The text beside an item's meter; empty when there is none.
    QString readoutText(MonitorSection section, const Appearance& appearance = Appearance::current()) const;
    /// An item as text in the interface language: its name, the title of the readout, and the value, as in "Memory — Usage:
    /// 64%". If the reading is absent, the text says that there is no sensor. For an item without a readout, the text
    /// describes the meter; it is only the name if there is no meter either.
    QString text(MonitorSection section, const Appearance& appearance = Appearance::current()) const;
    /// The texts of all items from left to right, one per line.
    QString summary() const;

Q_SIGNALS:
    /// Items in `area` look different. The shadow of a dragged item may reach a little further.
    void changed(const QRectF& area);

private:
    void setHovered(std::optional<MonitorSection> section);

    std::shared_ptr<const MenuBarReadings> m_readings;
    QSize m_room;
    StripItems m_items;
    std::optional<MonitorSection> m_hovered;
    std::function<double(MonitorSection)> m_offset = [](MonitorSection) { return 0; };
};

} // namespace kestrum
