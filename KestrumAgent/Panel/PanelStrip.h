// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/StripScene.h"

#include <QWidget>
#include <array>
#include <memory>

namespace kestrum {

/// The items at the panel. They stand on a plate, so that they can be read on any panel or desktop background. A
/// `PanelChannel` places the strip and opens the menu and the tool tips next to it.
///
/// The user can drag items to another place; the new order is stored and announced by `menuBarChanged`. The picture of each
/// item is cached, so that only items that look different are painted after new readings.
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
    /// Draws the items again, and repaints every item that looks different before it returns. Paints nothing while hidden.
    void redraw();

    /// Whether no item is shown.
    bool isEmpty() const { return items().list().isEmpty(); }
    const StripItems& items() const { return m_scene.items(); }
    QSize sizeHint() const override;

    /// An item's frame in the widget.
    QRectF place(const Item& item) const { return m_scene.frame(item); }
    /// The item's text, from `StripScene::text`.
    QString text(MonitorSection section) const { return m_scene.text(section); }
    /// The texts of all items, one per line.
    QString summary() const { return m_scene.summary(); }

Q_SIGNALS:
    /// The items were created again; the size of the strip may have changed.
    void rebuilt();
    /// The items have new readings. Emitted whether or not the strip is visible.
    void redrawn();
    void settingsRequested();
    /// The user has right-clicked. `at`, in the widget's coordinates, is where the menu should open.
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
    void redrawBy(const Appearance& appearance);
    QRegion renewPictures(const Appearance& appearance);

    StripScene m_scene;
    std::array<QImage, std::size(Enumeration<MonitorSection>::cases)> m_pictures;
};

} // namespace kestrum
