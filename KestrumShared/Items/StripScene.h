// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/StripItems.h"

#include <QImage>
#include <QMouseEvent>
#include <QObject>
#include <functional>

namespace kestrum {

/// The common part of the strips in both programs: the items, their reactions to the pointer, and the painting. A widget
/// shows the scene, passes its mouse events on, and calls `rebuild`. All coordinates are the widget's: points from the top
/// left, with a margin around the row of items.
class StripScene final : public QObject {
    Q_OBJECT
public:
    using Item = StripItems::Item;

    /// `room` is the margin around the row of items: the width is the margin on the left and on the right, the height is the
    /// margin above and below.
    StripScene(std::shared_ptr<const MenuBarReadings> readings, QSize room);

    /// Creates the items again, in the stored order or in `order`. A drag in progress continues.
    void rebuild(const Appearance& appearance);
    void rebuild(const QList<MonitorSection>& order, const Appearance& appearance);

    const StripItems& items() const { return m_items; }
    const std::shared_ptr<const MenuBarReadings>& readings() const { return m_readings; }
    /// The size of the whole widget.
    QSize size() const;

    /// Convert the widget's coordinates to those of `StripItems`, and back.
    QPointF stripPoint(const QPointF& point) const;
    QRectF widgetRect(const QRectF& stripRect) const;

    /// Sets the function that returns an item's horizontal offset: each item is drawn so many points to the right of its
    /// position. Initially, all offsets are 0.
    void setOffset(std::function<double(MonitorSection)> offset) { m_offset = std::move(offset); }
    /// The frame in which an item is drawn and the area of its backdrop, both moved by the offset.
    QRectF frame(const Item& item) const;
    QRectF ground(const Item& item) const;

    std::optional<MonitorSection> hovered() const { return m_hovered; }
    /// The item with an open popover. It has a backdrop, as if the pointer were there.
    std::optional<MonitorSection> opened() const { return m_opened; }
    void setOpened(std::optional<MonitorSection> section);
    std::optional<MonitorSection> dragged() const { return m_items.dragged(); }
    Qt::CursorShape cursor() const;

    /// The item at `point`; null if there is none or an item is being dragged.
    const Item* resting(const QPointF& point) const;
    /// Call these functions when the pointer moves without a button, or leaves the widget. They do nothing during a drag.
    void hover(const QPointF& point);
    void leave();
    /// Begins a drag if the left button is pressed on an item. Returns that item, or null.
    const Item* grab(const QMouseEvent& press);
    /// Begins a drag of the item at `point`, where the left button was pressed. Returns that item, or null.
    const Item* grab(const QPointF& point);
    void drag(const QPointF& point);
    /// Ends the drag and stores the order if the left button is released. Returns false without a drag or for another
    /// button.
    bool drop(const QMouseEvent& release);
    /// Swaps the items at two indices, and stores the order.
    void move(int from, int to);

    /// The background of an item that is being dragged: only a backdrop, or also a shadow and a piece of the plate.
    enum class DragLook { backdrop, lifted };
    /// Paints the backdrops, and calls `drawItem` with each item and the position of its top left corner. The dragged item
    /// is painted last, above its neighbours.
    void paint(QPainter& painter, ColourScheme scheme, DragLook look,
        const std::function<void(const Item&, const QPointF&)>& drawItem) const;

    /// How far an item may draw beyond its frame's right edge, in points.
    static constexpr int spareWidth = 2;
    /// A picture of an item, `spareWidth` wider than its frame. `scale` is pixels per point.
    static QImage picture(const Item& item, const ItemInk& ink, double scale, const Appearance& appearance);

    /// The text of a section's readout; empty when there is none.
    QString readoutText(MonitorSection section, const Appearance& appearance = Appearance::current()) const;
    /// An item as text in the interface language, such as "Memory — Usage: 64%": the section's name, the title of the
    /// readout, and the value. If the reading is absent, the text says that there is no sensor. Without a readout, the text
    /// has the value of the meter. Without a meter too, the text is only the name.
    QString text(MonitorSection section, const Appearance& appearance = Appearance::current()) const;
    /// The texts of all items from left to right, one per line.
    QString summary() const;

Q_SIGNALS:
    /// The items in `area` must be painted again. The shadow of a dragged item may extend a little further.
    void changed(const QRectF& area);

private:
    void setHovered(std::optional<MonitorSection> section);

    std::shared_ptr<const MenuBarReadings> m_readings;
    QSize m_room;
    StripItems m_items;
    std::optional<MonitorSection> m_hovered;
    std::optional<MonitorSection> m_opened;
    std::function<double(MonitorSection)> m_offset = [](MonitorSection) { return 0; };
};

} // namespace kestrum
