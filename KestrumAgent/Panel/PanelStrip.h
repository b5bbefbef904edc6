// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/StripScene.h"

#include <QWidget>
#include <array>
#include <memory>

namespace kestrum {

/// The items at the panel, on a plate of their own, so that they are readable whatever the panel or the desktop looks like. A
/// `PanelChannel` places it and opens menus and tips beside it.
///
/// Items can be dragged to another place; the new order is stored and announced by `menuBarChanged`. A picture of each item is
/// cached, so that new readings paint only what looks different from before.
class PanelStrip final : public QWidget {
    Q_OBJECT
public:
    using Item = StripScene::Item;

    /// Of the plate, to the left and to the right of the items.
    static constexpr int sideRoom = 8;
    static constexpr double plateRadius = 6;

    explicit PanelStrip(std::shared_ptr<const MenuBarReadings> readings, QWidget* parent = nullptr);

    /// Builds the items anew from the settings. A drag in progress continues.
    void rebuild();
    /// Paints, before it returns, every item that new readings make look different.
    void redraw();

    /// Whether no item is shown.
    bool isEmpty() const { return items().list().isEmpty(); }
    const StripItems& items() const { return m_scene.items(); }
    QSize sizeHint() const override;

    /// An item's frame in the widget.
    QRectF place(const Item& item) const { return m_scene.frame(item); }
    /// What an item says in words, by `itemText`.
    QString text(MonitorSection section) const { return m_scene.text(section); }
    /// The texts of all items, one a line.
    QString summary() const { return m_scene.summary(); }

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
    void redrawBy(const Appearance& appearance);
    QRegion renewPictures(const Appearance& appearance);

    StripScene m_scene;
    std::array<QImage, std::size(Enumeration<MonitorSection>::cases)> m_pictures;
};

} // namespace kestrum
