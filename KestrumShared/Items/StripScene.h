// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/StripItems.h"

#include <QImage>
#include <QMouseEvent>
#include <QObject>
#include <functional>

namespace kestrum {

/// A strip as both programs show it: its items, what the pointer does to them, and what is painted where. A widget shows it,
/// hands on what happens to it, and decides when it is built anew. All points and rectangles are in the widget's coordinates:
/// points from the top left, with some room around the row of items.
class StripScene final : public QObject {
    Q_OBJECT
public:
    using Item = StripItems::Item;

    /// `room` is what the widget is larger than the row of items on each side.
    StripScene(std::shared_ptr<const MenuBarReadings> readings, QSize room);

    /// Builds the items anew, in the stored order or in any other. A drag in progress continues.
    void rebuild(const Appearance& appearance);
    void rebuild(const QList<MonitorSection>& order, const Appearance& appearance);

    const StripItems& items() const { return m_items; }
    /// Of the whole widget.
    QSize size() const;

    /// From the widget's coordinates to those of `StripItems`, and back.
    QPointF stripPoint(const QPointF& point) const;
    QRectF widgetRect(const QRectF& stripRect) const;

    /// How far to the right of its place each item is drawn; nothing when not set.
    void setOffset(std::function<double(MonitorSection)> offset) { m_offset = std::move(offset); }
    /// Where an item is drawn, and where its backdrop is.
    QRectF frame(const Item& item) const;
    QRectF ground(const Item& item) const;

    std::optional<MonitorSection> hovered() const { return m_hovered; }
    std::optional<MonitorSection> dragged() const { return m_items.dragged(); }
    Qt::CursorShape cursor() const;

    /// The item at a place while none is being dragged, else null.
    const Item* resting(const QPointF& point) const;
    /// The pointer moves without a button, or leaves. Nothing happens during a drag.
    void hover(const QPointF& point);
    void leave();
    /// A press of the left button on an item begins a drag; the item, or null.
    const Item* grab(const QMouseEvent& press);
    void drag(const QPointF& point);
    /// Its release ends the drag and stores the order. False for any other.
    bool drop(const QMouseEvent& release);
    /// Moves an item to the place of another, by their indices, and stores the order.
    void move(int from, int to);

    /// What lies below an item that is being dragged: its backdrop alone, or a piece of the plate, which lifts it off.
    enum class DragLook { backdrop, lifted };
    /// Paints backdrops, and the items by `drawItem`, which gets the place of an item's top left corner. The dragged one lies
    /// above its neighbours.
    void paint(QPainter& painter, ColourScheme scheme, DragLook look,
        const std::function<void(const Item&, const QPointF&)>& drawItem) const;

    /// What an item may draw beyond its frame's right edge, in points.
    static constexpr int spareWidth = 2;
    /// An item as a picture, `spareWidth` wider than its frame. `scale` is pixels per point.
    static QImage picture(const Item& item, ColourScheme scheme, double scale, const Appearance& appearance);

    /// What an item says beside its meter; empty when it says nothing.
    QString readoutText(MonitorSection section, const Appearance& appearance = Appearance::current()) const;
    /// What an item says in words, by `itemText`; and what all of them say, one a line.
    QString text(MonitorSection section, const Appearance& appearance = Appearance::current()) const;
    QString summary() const;

Q_SIGNALS:
    /// An item looks different there. A dragged one may reach a little further.
    void changed(const QRectF& area);

private:
    void setHovered(std::optional<MonitorSection> section);
    void repaint(std::optional<MonitorSection> section);

    std::shared_ptr<const MenuBarReadings> m_readings;
    QSize m_room;
    StripItems m_items;
    std::optional<MonitorSection> m_hovered;
    std::function<double(MonitorSection)> m_offset;
};

} // namespace kestrum
