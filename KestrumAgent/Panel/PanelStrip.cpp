// SPDX-License-Identifier: MIT
#include "KestrumAgent/Panel/PanelStrip.h"

#include "KestrumAgent/Panel/PanelStripAccessible.h"
#include "KestrumShared/Items/StripBackground.h"
#include "KestrumShared/Settings/SharedSettings.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <algorithm>
#include <utility>

namespace kestrum {

PanelStrip::PanelStrip(std::shared_ptr<const MenuBarReadings> readings, QWidget* parent)
    : QWidget(parent)
    , m_scene(std::move(readings), QSize(sideRoom, 0))
{
    // Before all else: where assistive programs listen, a new title already makes the toolkit look for the strip's interface.
    PanelStripAccessible::install();
    setObjectName(QStringLiteral("panelStrip"));
    setWindowTitle(QStringLiteral("Kestrum"));
    setMouseTracking(true);
    setFocusPolicy(Qt::NoFocus);
    // By default Qt shows tool tips only in the active window, and this window never has the keyboard focus.
    setAttribute(Qt::WA_AlwaysShowToolTips);
    connect(&SystemAppearance::shared(), &SystemAppearance::changed, this, [this] {
        redraw();
        update();
    });
    connect(&m_scene, &StripScene::changed, this, [this](const QRectF& area) {
        update(area.toAlignedRect().marginsAdded({ 1, 0, 1, 0 }));
    });
    rebuild();
}

void PanelStrip::rebuild()
{
    // Measuring and drawing use the same appearance. So the items fit their places even if the settings change in between.
    const Appearance appearance = Appearance::current();
    const auto places = [this] {
        QList<std::pair<MonitorSection, QRectF>> list;
        for (const Item& item : items().list())
            list.append({ item.section, item.view->frame() });
        return list;
    };
    const auto before = places();
    m_scene.rebuild(appearance);
    // `redrawBy` does not paint an item that only moves, because the item's picture does not change.
    if (places() != before)
        update();
    redrawBy(appearance);
    Q_EMIT rebuilt();
}

void PanelStrip::redraw()
{
    redrawBy(Appearance::current());
}

void PanelStrip::redrawBy(const Appearance& appearance)
{
    Q_EMIT redrawn();
    if (!isVisible())
        return;
    // Paints immediately: `update` would wake the process a second time for each sample.
    if (const QRegion changed = renewPictures(appearance); !changed.isEmpty())
        repaint(changed);
}

/// Draws the pictures of all items again. Returns the area of the items whose picture has changed.
QRegion PanelStrip::renewPictures(const Appearance& appearance)
{
    QRegion changed;
    for (const Item& item : items().list()) {
        QImage now = StripScene::picture(item, scheme(), devicePixelRatioF(), appearance);
        QImage& cached = m_pictures[size_t(item.section)];
        if (now == cached && now.devicePixelRatio() == cached.devicePixelRatio())
            continue;
        cached = std::move(now);
        changed += place(item).toAlignedRect().marginsAdded({ 1, 0, StripScene::spareWidth + 1, 0 });
    }
    return changed;
}

QSize PanelStrip::sizeHint() const
{
    return isEmpty() ? QSize(0, 0) : m_scene.size();
}

void PanelStrip::setOpened(std::optional<MonitorSection> section)
{
    const auto before = opened();
    if (before == section)
        return;
    m_scene.setOpened(section);
    for (const auto& changed : { before, section }) {
        if (changed)
            PanelStripAccessible::tellExpanded(*this, *changed);
    }
}

void PanelStrip::setGround(std::optional<ColourScheme> scheme)
{
    if (std::exchange(m_ground, scheme) == scheme)
        return;
    redraw();
    update();
}

void PanelStrip::leaveScreen()
{
    hide();
    setParent(nullptr, Qt::Widget);
    destroy();
    for (const Qt::WidgetAttribute attribute : { Qt::WA_NativeWindow, Qt::WA_TranslucentBackground,
             Qt::WA_NoSystemBackground, Qt::WA_ShowWithoutActivating, Qt::WA_X11NetWmWindowTypeDock })
        setAttribute(attribute, false);
    clearMask();
    setSizeIncrement(0, 0);
    setMinimumSize(0, 0);
    setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
    setGround(std::nullopt);
}

void PanelStrip::click(MonitorSection section)
{
    if (const Item* item = items().item(section))
        Q_EMIT itemClicked(section, place(*item).toAlignedRect());
}

void PanelStrip::beginDrag(const QPointF& at)
{
    const double moved = (at - m_press->at).manhattanLength();
    if (moved < QApplication::startDragDistance())
        return;
    const Press press = *std::exchange(m_press, std::nullopt);
    const Item* under = m_scene.resting(press.at);
    // The items may have changed since the press. The drag begins where the button was pressed, so the item stays under the
    // pointer where it was grabbed.
    if (under && under->section == press.section)
        m_scene.grab(press.at);
}

void PanelStrip::mouseMoveEvent(QMouseEvent* event)
{
    // The release is missing when it went to the menu's window.
    if (!event->buttons().testFlag(Qt::LeftButton))
        m_press.reset();
    if (m_press)
        beginDrag(event->position());
    m_scene.drag(event->position());
    const auto before = m_scene.hovered();
    m_scene.hover(event->position());
    if (const auto now = m_scene.hovered(); now && now != before)
        Q_EMIT itemApproached(*now);
    setCursor(m_scene.cursor());
}

void PanelStrip::mousePressEvent(QMouseEvent* event)
{
    Q_EMIT pointerLeft();
    const Item* under = m_scene.resting(event->position());
    if (event->button() == Qt::LeftButton && under)
        m_press = Press { under->section, event->position() };
}

void PanelStrip::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) {
        const auto press = std::exchange(m_press, std::nullopt);
        const Item* under = m_scene.resting(event->position());
        if (press && under && under->section == press->section)
            click(press->section);
    }
    if (!m_scene.drop(*event))
        return;
    setCursor(m_scene.cursor());
    SharedSettings::post(SharedSettings::Signal::menuBarChanged);
    // Moves the dropped item to its place on the grid, or all items back to the stored order if the save failed.
    rebuild();
    update();
}

void PanelStrip::mouseDoubleClickEvent(QMouseEvent* event)
{
    mousePressEvent(event); // for the toolkit, the second press of two quick clicks is no press
}

void PanelStrip::contextMenuEvent(QContextMenuEvent* event)
{
    if (!m_scene.dragged())
        Q_EMIT menuRequested(QPoint(event->pos().x(), height()));
}

void PanelStrip::leaveEvent(QEvent*)
{
    Q_EMIT pointerLeft();
    m_scene.leave();
    setCursor(m_scene.cursor());
}

void PanelStrip::showEvent(QShowEvent*)
{
    redraw();
}

bool PanelStrip::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip)
        return QWidget::event(event);
    const QPoint at = static_cast<QHelpEvent*>(event)->pos();
    const Item* under = m_scene.resting(at);
    Q_EMIT tipRequested(
        at, under ? text(under->section) : QString(), under ? place(*under).toAlignedRect() : QRect());
    return true;
}

void PanelStrip::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    const ColourScheme scheme = this->scheme();
    if (m_ground) {
        // The panel is the ground.
    } else if (testAttribute(Qt::WA_TranslucentBackground)) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(StripBackground::plate(scheme));
        painter.drawRoundedRect(rect(), plateRadius, plateRadius);
        painter.setRenderHint(QPainter::Antialiasing, false);
    } else {
        painter.fillRect(event->rect(), StripBackground::plate(scheme));
    }

    // The strip may have been moved to a screen of another scale.
    const bool isOtherScale
        = std::any_of(items().list().begin(), items().list().end(), [this](const Item& item) {
              return m_pictures[size_t(item.section)].devicePixelRatio() != devicePixelRatioF();
          });
    if (isOtherScale)
        renewPictures(Appearance::current());
    m_scene.paint(
        painter, scheme, StripScene::DragLook::backdrop, [&](const Item& item, const QPointF& topLeft) {
            painter.drawImage(topLeft, m_pictures[size_t(item.section)]);
        });
}

} // namespace kestrum
