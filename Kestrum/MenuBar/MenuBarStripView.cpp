#include "Kestrum/MenuBar/MenuBarStripView.h"

#include "Kestrum/Form/Theme.h"
#include "Kestrum/MenuBar/MenuBarStripAccessible.h"
#include "KestrumShared/Drawing/StripLayout.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Text/AppLanguage.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace kestrum {

namespace {

/// How much further than its item a backdrop, and the ground that takes the pointer, reach left and right.
constexpr double overhang = 4;
constexpr double backdropRadius = 6;

QRectF widened(const QRectF& frame)
{
    return frame.adjusted(-overhang, 0, overhang, 0);
}

double middle(const QRectF& frame)
{
    return frame.center().x();
}

/// The nearest place to `x` at which a device pixel begins: what is drawn there looks as sharp as at 0.
double onPixel(double x, const QTransform& device)
{
    return (std::round(x * device.m11() + device.dx()) - device.dx()) / device.m11();
}

} // namespace

MenuBarStripView::MenuBarStripView(QWidget* parent)
    : QWidget(parent)
    , m_readings(std::make_shared<SampleReadings>())
{
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAccessibleName(AppLanguage::string("Menu bar items"));
    MenuBarStripAccessible::install();
    rebuild();
    connect(&SharedSettings::store(), &UserDefaults::changed, this, qOverload<>(&MenuBarStripView::rebuild));
    m_barListener.listen(SharedSettings::Signal::menuBarChanged, [this] { rebuild(); });
}

void MenuBarStripView::rebuild()
{
    rebuild(MeterSettings::storedOrder());
}

void MenuBarStripView::rebuild(const QList<MonitorSection>& order)
{
    m_items.clear();
    for (const StripLayout::Item& place : StripLayout::of(order).items) {
        if (!place.isShown())
            continue;
        const QRectF frame(*place.x, 0, place.width, StatusMetricView::height);
        m_items.append(
            { place.section, std::make_shared<StatusMetricView>(place.section, frame, m_readings) });
    }
    if (m_drag) {
        if (const Item* same = item(m_drag->section)) {
            same->view->moveLeftEdgeTo(m_drag->view->frame().left());
            m_drag->view = same->view;
        }
    }
    tellScreenReader();
    updateGeometry();
    update();
    Q_EMIT rebuilt();
}

QSizeF MenuBarStripView::intrinsicContentSize() const
{
    double width = m_items.isEmpty() ? 0 : StripLayout::spacing * double(m_items.size() - 1);
    for (const Item& item : m_items)
        width += item.view->frame().width();
    return { width, StatusMetricView::height };
}

QSize MenuBarStripView::sizeHint() const
{
    const QSizeF content = intrinsicContentSize();
    return QSize(int(std::ceil(content.width())), int(content.height())) + 2 * room;
}

const MenuBarStripView::Item* MenuBarStripView::item(const QPointF& at) const
{
    const auto found = std::find_if(m_items.begin(), m_items.end(), [&at](const Item& item) {
        // Not QRectF::contains: it counts all four edges.
        const QRectF ground = widened(item.view->frame());
        return ground.left() <= at.x() && at.x() < ground.right() && ground.top() < at.y()
            && at.y() <= ground.bottom();
    });
    return found == m_items.end() ? nullptr : &*found;
}

int MenuBarStripView::index(MonitorSection section) const
{
    for (int i = 0; i < m_items.size(); ++i) {
        if (m_items[i].section == section)
            return i;
    }
    return -1;
}

const MenuBarStripView::Item* MenuBarStripView::item(MonitorSection section) const
{
    const int i = index(section);
    return i < 0 ? nullptr : &m_items[i];
}

QString MenuBarStripView::readoutText(MonitorSection section) const
{
    return StatusMetricView::readoutText(section, *m_readings).value_or(QString());
}

QPointF MenuBarStripView::stripPoint(const QPointF& widgetPoint) const
{
    return { widgetPoint.x() - room.width(), room.height() + StatusMetricView::height - widgetPoint.y() };
}

QRectF MenuBarStripView::widgetRect(const QRectF& stripRect) const
{
    return { stripRect.left() + room.width(), room.height() + StatusMetricView::height - stripRect.bottom(),
        stripRect.width(), stripRect.height() };
}

QRectF MenuBarStripView::backdropRect(const Item& item) const
{
    return widgetRect(widened(item.view->frame()));
}

std::optional<MonitorSection> MenuBarStripView::dragged() const
{
    return m_drag ? std::optional(m_drag->section) : std::nullopt;
}

void MenuBarStripView::setHovered(std::optional<MonitorSection> section)
{
    if (section == m_hovered)
        return;
    redraw(m_hovered);
    m_hovered = section;
    redraw(m_hovered);
}

void MenuBarStripView::redraw(std::optional<MonitorSection> section)
{
    const Item* changed = section ? item(*section) : nullptr;
    if (changed)
        update(backdropRect(*changed).toAlignedRect().marginsAdded({ 4, 4, 4, 4 }));
}

void MenuBarStripView::mouseMoveEvent(QMouseEvent* event)
{
    if (m_drag) {
        drag(event->position());
        return;
    }
    // A window in the background does not react to a pointer that passes over it.
    const Item* under = isActiveWindow() ? item(stripPoint(event->position())) : nullptr;
    setHovered(under ? std::optional(under->section) : std::nullopt);
    setCursor(under ? Qt::OpenHandCursor : Qt::ArrowCursor);
}

void MenuBarStripView::leaveEvent(QEvent*)
{
    if (m_drag)
        return;
    setHovered(std::nullopt);
    setCursor(Qt::ArrowCursor);
}

void MenuBarStripView::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::ActivationChange && !isActiveWindow() && !m_drag) {
        setHovered(std::nullopt);
        setCursor(Qt::ArrowCursor);
    }
    QWidget::changeEvent(event);
}

void MenuBarStripView::mousePressEvent(QMouseEvent* event)
{
    const QPointF point = stripPoint(event->position());
    const Item* grabbed = event->button() == Qt::LeftButton && !m_drag ? item(point) : nullptr;
    if (!grabbed)
        return;
    m_drag = Drag { grabbed->section, grabbed->view, point.x() - grabbed->view->frame().left() };
    setHovered(grabbed->section);
    setCursor(Qt::ClosedHandCursor);
}

void MenuBarStripView::drag(const QPointF& widgetPoint)
{
    if (!m_drag)
        return;
    QList<QPair<std::shared_ptr<StatusMetricView>, double>> before;
    for (const Item& item : std::as_const(m_items))
        before.append({ item.view, item.view->frame().left() });

    const double furthest = intrinsicContentSize().width() - m_drag->view->frame().width();
    const double left = stripPoint(widgetPoint).x() - m_drag->grabOffset;
    m_drag->view->moveLeftEdgeTo(std::max(0.0, std::min(left, furthest)));
    makeRoom();

    for (const auto& [view, place] : std::as_const(before)) {
        const QRectF frame = widened(view->frame());
        if (frame.left() == place - overhang)
            continue;
        QRectF was = frame;
        was.moveLeft(place - overhang);
        for (const QRectF& changed : { frame, was })
            update(widgetRect(changed).toAlignedRect().marginsAdded({ 1, 1, 1, 1 }));
    }
    Q_EMIT dragMoved(widgetPoint);
}

/// Lets neighbours whose middle the dragged item has passed change places with it, and sets all others on the
/// grid.
void MenuBarStripView::makeRoom()
{
    const QRectF dragged = m_drag->view->frame();
    const qsizetype count = m_items.size();
    qsizetype i = std::max(0, index(m_drag->section));
    int direction = 0;
    bool moved = true;
    while (moved) {
        // An item that was dragged one way is never due to go back: only when the dragged item was hidden
        // meanwhile, and the first one stands in for it, could the two conditions call for each other for
        // ever.
        if (direction <= 0 && i >= 1 && dragged.left() < middle(m_items[i - 1].view->frame()))
            direction = -1;
        else if (direction >= 0 && i < count - 1 && middle(m_items[i + 1].view->frame()) < dragged.right())
            direction = 1;
        else
            moved = false;
        if (moved) {
            m_items.swapItemsAt(i, i + direction);
            i += direction;
        }
        double x = 0;
        for (const Item& item : std::as_const(m_items)) {
            if (item.view != m_drag->view)
                item.view->moveLeftEdgeTo(x);
            x += item.view->frame().width() + StripLayout::spacing;
        }
    }
}

void MenuBarStripView::mouseReleaseEvent(QMouseEvent* event)
{
    if (!m_drag || event->button() != Qt::LeftButton)
        return;
    m_drag.reset();
    setCursor(Qt::OpenHandCursor);
    store();
}

/// Makes the present order of the visible items the stored one. Where the save failed the stored order comes
/// back.
void MenuBarStripView::store()
{
    QList<MonitorSection> visible;
    for (const Item& item : std::as_const(m_items))
        visible.append(item.section);
    MeterSettings::setMenuBarOrder(visible);
    rebuild();
}

std::optional<MonitorSection> MenuBarStripView::focused() const
{
    if (m_items.isEmpty())
        return std::nullopt;
    return m_focused && item(*m_focused) ? *m_focused : m_items.first().section;
}

void MenuBarStripView::focusItem(int index)
{
    if (m_items.isEmpty())
        return;
    redraw(focused());
    m_focused = m_items[std::clamp(index, 0, int(m_items.size()) - 1)].section;
    m_showsFocus = true;
    redraw(m_focused);
    Q_EMIT itemFocused(backdropRect(*item(*m_focused)));
    MenuBarStripAccessible::tellFocus(this);
}

void MenuBarStripView::moveFocusedItem(int step)
{
    const int from = index(*focused());
    const int to = from + step;
    if (to >= 0 && to < m_items.size()) {
        m_focused = m_items[from].section;
        m_items.swapItemsAt(from, to);
        store();
    }
    focusItem(index(*focused()));
}

void MenuBarStripView::keyPressEvent(QKeyEvent* event)
{
    const auto modifiers = event->modifiers() & ~Qt::KeypadModifier;
    const bool isSideways = event->key() == Qt::Key_Left || event->key() == Qt::Key_Right;
    if (!isSideways || m_items.isEmpty() || m_drag
        || (modifiers != Qt::NoModifier && modifiers != Qt::AltModifier)) {
        QWidget::keyPressEvent(event);
        return;
    }
    const int step = event->key() == Qt::Key_Left ? -1 : 1;
    if (modifiers == Qt::AltModifier)
        moveFocusedItem(step);
    else
        focusItem(index(*focused()) + step);
}

void MenuBarStripView::focusInEvent(QFocusEvent* event)
{
    const Qt::FocusReason reason = event->reason();
    if (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason
        || reason == Qt::ShortcutFocusReason) {
        focusItem(focused() ? index(*focused()) : 0);
    } else if (reason == Qt::MouseFocusReason) {
        m_showsFocus = false;
    }
    update();
}

void MenuBarStripView::focusOutEvent(QFocusEvent*)
{
    update();
}

void MenuBarStripView::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    const ColourScheme scheme = SystemAppearance::shared().scheme();
    const QTransform device = painter.deviceTransform();
    const auto snapped = [&device](QRectF rect) {
        rect.setLeft(onPixel(rect.left(), device));
        rect.setRight(onPixel(rect.right(), device));
        return rect;
    };

    const std::optional<MonitorSection> highlighted = m_drag ? dragged() : m_hovered;
    if (const Item* item = highlighted ? this->item(*highlighted) : nullptr) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Theme::colour(Theme::Colour::itemBackdrop, scheme));
        painter.drawRoundedRect(snapped(backdropRect(*item)), backdropRadius, backdropRadius);
        painter.setRenderHint(QPainter::Antialiasing, false);
    }

    const auto draw = [&](const Item& item) {
        const QRectF frame = widgetRect(item.view->frame());
        if (!event->region().intersects(frame.toAlignedRect().marginsAdded({ 1, 1, 1, 1 })))
            return;
        item.view->draw(painter, QPointF(onPixel(frame.left(), device), frame.top()), scheme, device.m11());
    };
    for (const Item& item : std::as_const(m_items)) {
        if (item.section != dragged())
            draw(item);
    }
    // Above its neighbours while it moves.
    if (const Item* item = m_drag ? this->item(m_drag->section) : nullptr)
        draw(*item);

    if (const auto marked = focused(); marked && hasFocus() && m_showsFocus) {
        constexpr double reach = Theme::focusRingGap + Theme::focusRingWidth / 2;
        const QRectF ring = snapped(backdropRect(*item(*marked))).adjusted(-reach, -reach, reach, reach);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(Theme::colour(Theme::Colour::accent, scheme), Theme::focusRingWidth));
        painter.drawRoundedRect(ring, backdropRadius + reach, backdropRadius + reach);
    }
}

void MenuBarStripView::tellScreenReader()
{
    QStringList texts;
    for (const Item& item : std::as_const(m_items)) {
        texts.append(
            (StatusMetricView::description(item.section) + u' ' + readoutText(item.section)).trimmed());
    }
    const QString description = texts.join(QStringLiteral(", "));
    if (description != accessibleDescription())
        setAccessibleDescription(description);
}

} // namespace kestrum
