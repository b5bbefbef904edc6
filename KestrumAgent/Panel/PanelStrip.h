// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/StripScene.h"

#include <QWidget>
#include <array>
#include <memory>
#include <optional>

namespace kestrum {

/// The widget with the items at the panel. A plate behind the items makes them readable on any panel or desktop background.
/// A `PanelChannel` places the strip and opens the menu and the tool tips next to it.
///
/// The user can click an item, or drag it to another place. A press becomes a drag only when the pointer has moved by the
/// desktop's drag distance. After a drag, the new order is stored, and the signal `menuBarChanged` is posted. The picture of
/// each item is cached: after new readings, only items that look different are painted.
class PanelStrip final : public QWidget {
    Q_OBJECT
public:
    using Item = StripScene::Item;

    /// How far the plate extends to the left and to the right of the items, in points.
    static constexpr int sideRoom = 8;
    static constexpr double plateRadius = 6;

    explicit PanelStrip(std::shared_ptr<const MenuBarReadings> readings, QWidget* parent = nullptr);

    /// Creates the items again from the settings. A drag in progress continues.
    void rebuild();
    /// Draws the items again. Before the call returns, items that look different are repainted. Paints nothing while hidden.
    void redraw();

    bool isEmpty() const { return items().list().isEmpty(); }
    const StripItems& items() const { return m_scene.items(); }
    const std::shared_ptr<const MenuBarReadings>& readings() const { return m_scene.readings(); }
    QSize sizeHint() const override;

    /// The frame of `item` in the widget's coordinates.
    QRectF place(const Item& item) const { return m_scene.frame(item); }
    /// The item at `point`, in the widget's coordinates; null if there is none.
    const Item* item(const QPointF& point) const { return items().item(m_scene.stripPoint(point)); }
    /// See `StripScene::text`.
    QString text(MonitorSection section) const { return m_scene.text(section); }
    /// The texts of all items, one per line.
    QString summary() const { return m_scene.summary(); }

    /// The item whose popover is open; it has a backdrop.
    void setOpened(std::optional<MonitorSection> section);
    std::optional<MonitorSection> opened() const { return m_scene.opened(); }

    /// Sets the colours of the ground behind the strip. If it is the panel's own, the strip has no plate. Without a ground, which
    /// is so at first, the strip has its plate, in the colours of the desktop.
    void setGround(std::optional<ColourScheme> scheme);

    /// Takes the strip from the screen, and undoes what a channel has set of its window, so that another channel can use it.
    void leaveScreen();

    /// Does what a click on the section's item does. Nothing happens for a section without an item.
    void click(MonitorSection section);

Q_SIGNALS:
    /// The items were created again; the size of the strip may have changed.
    void rebuilt();
    /// The items have new readings. Emitted whether or not the strip is visible.
    void redrawn();
    /// The left button was pressed and released on the item at `item`, in the widget's coordinates.
    void itemClicked(MonitorSection section, QRect item);
    /// The pointer has come to an item.
    void itemApproached(MonitorSection section);
    /// The user has right-clicked. The menu should open at `at`, in the widget's coordinates.
    void menuRequested(QPoint at);
    /// The pointer rests at `at`, in the widget's coordinates. `text` is empty if there is no item at that point.
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
    struct Press {
        MonitorSection section;
        QPointF at;
    };

    ColourScheme scheme() const { return m_ground.value_or(SystemAppearance::shared().scheme()); }
    void beginDrag(const QPointF& at);
    void redrawBy(const Appearance& appearance);
    QRegion renewPictures(const Appearance& appearance);

    StripScene m_scene;
    std::optional<Press> m_press;         ///< of the left button on an item, before it becomes a drag
    std::optional<ColourScheme> m_ground; ///< of a panel
    std::array<QImage, std::size(Enumeration<MonitorSection>::cases)> m_pictures;
};

} // namespace kestrum
