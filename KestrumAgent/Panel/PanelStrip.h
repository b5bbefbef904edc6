#pragma once

#include "KestrumShared/Items/StripItems.h"

#include <QImage>
#include <QWidget>
#include <array>
#include <memory>
#include <optional>

namespace kestrum {

/// The items at the panel, on a plate of their own that makes them readable on whatever the panel or the desktop looks
/// like. It knows nothing of how it comes to stand there: a `PanelChannel` sees to that, and to everything that opens
/// beside it.
///
/// Items can be dragged to another place; the new order is stored and told by `menuBarChanged`. Each item is kept as a
/// picture, so that new readings paint only what looks different from before.
class PanelStrip final : public QWidget {
    Q_OBJECT
public:
    using Item = StripItems::Item;

    /// Of the plate, to the left and to the right of the items.
    static constexpr int sideRoom = 8;
    static constexpr double plateRadius = 6;

    explicit PanelStrip(std::shared_ptr<const MenuBarReadings> readings, QWidget* parent = nullptr);

    /// Builds the items anew from the settings. A drag in progress goes on with the new item of its section.
    void rebuild();
    /// Paints, before it returns, every item that new readings make look different.
    void redraw();

    /// Whether no item is shown.
    bool isEmpty() const { return m_items.list().isEmpty(); }
    const StripItems& items() const { return m_items; }
    QSize sizeHint() const override;

    /// An item's frame in the widget.
    QRectF place(const Item& item) const;
    /// What an item tells in words, by `itemText`.
    QString text(MonitorSection section) const;
    /// The texts of all items, one a line.
    QString summary() const;

Q_SIGNALS:
    /// The items, and with them perhaps the size, are others.
    void rebuilt();
    /// There are new readings, whether or not the strip is visible.
    void redrawn();
    void settingsRequested();
    /// A right click; the place, in the widget, is where a menu should open.
    void menuRequested(QPoint at);
    /// The pointer rests on an item, at that place of the widget; an empty text when it rests on none.
    void tipRequested(QPoint at, QString text, QRect item);
    void pointerLeft();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    bool event(QEvent* event) override;

private:
    QPointF stripPoint(const QPointF& widgetPoint) const;
    QImage picture(const Item& item) const;
    void setHovered(std::optional<MonitorSection> section);

    StripItems m_items;
    std::array<QImage, std::size(Enumeration<MonitorSection>::cases)> m_pictures;
    std::optional<MonitorSection> m_hovered;
    std::shared_ptr<const MenuBarReadings> m_readings;
};

} // namespace kestrum
