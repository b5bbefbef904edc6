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

/// The row of menu-bar items as the agent shows it, drawn from sample readings, in which the user
/// orders the items: by dragging one sideways, or with Alt and the arrow keys. The new order is stored when an item
/// is dropped; every change of the shared settings and the agent's `menuBarChanged` build the row anew. Items slide to
/// their new places: their frames are the places, and where they are drawn is beside those for a moment.
///
/// Two systems of coordinates meet here. Items have frames in *strip* coordinates: points, fractional, origin
/// at the bottom left of the first item. Qt has *widget* coordinates from the top left, and the widget is
/// larger than the row by `room` on each side, so that a backdrop and a focus ring are never cut.
class MenuBarStripView final : public QWidget {
    Q_OBJECT
public:
    using Item = StripScene::Item;

    /// What the widget is larger than the row of items, on each side.
    static constexpr QSize room { 7, 3 };

    explicit MenuBarStripView(QWidget* parent = nullptr);

    /// Builds the items anew from the settings. A drag in progress continues.
    void rebuild();
    /// In an order other than the stored one.
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

    /// What the item says beside its meter; empty when it says nothing.
    QString readoutText(MonitorSection section) const { return m_scene.readoutText(section); }

    /// How people move an item, in the interface language.
    static QString moveHint();

    QPointF stripPoint(const QPointF& widgetPoint) const { return m_scene.stripPoint(widgetPoint); }
    QRectF widgetRect(const QRectF& stripRect) const { return m_scene.widgetRect(stripRect); }
    /// Where an item and its backdrop are drawn, in widget coordinates.
    QRectF backdropRect(const Item& item) const { return m_scene.ground(item); }

    std::optional<MonitorSection> hovered() const { return m_scene.hovered(); }
    std::optional<MonitorSection> dragged() const { return m_scene.dragged(); }
    /// The item that the arrow keys are at while the strip has the keyboard focus.
    std::optional<MonitorSection> focused() const;

    /// Takes the item being dragged to where the pointer is. Without a drag, nothing happens.
    void drag(const QPointF& widgetPoint);

Q_SIGNALS:
    void rebuilt();
    void dragMoved(QPointF widgetPoint);
    /// An item that should be in view, widget coordinates.
    void itemFocused(QRectF rect);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    QHash<MonitorSection, double> shownLefts() const;
    void slideFrom(const QHash<MonitorSection, double>& lefts);
    void leaveItems();
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
