// SPDX-License-Identifier: MIT
#include "KestrumAgent/Popover/PopoverWindow.h"

#include "KestrumAgent/Popover/PopoverAccessible.h"
#include "KestrumAgent/Popover/RoundedRegion.h"
#include "KestrumShared/Popover/PopoverFrame.h"
#include "KestrumShared/Popover/PopoverSurface.h"

#include <QCursor>
#include <QEnterEvent>
#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QShortcut>
#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

namespace kestrum {

namespace {

constexpr double wheelStep = 48; ///< how far a notch of the wheel scrolls, in points
constexpr double barWidth = 6;
constexpr double barEdge = 2; ///< distance of the scroll bar from the edges
constexpr double shortestBar = 24;

} // namespace

PopoverWindow::PopoverWindow(QWidget* parent)
    : QWidget(parent)
{
    PopoverAccessible::install();
    setObjectName(QStringLiteral("popover"));
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_NoSystemBackground);
    setAttribute(Qt::WA_AlwaysShowToolTips); // a pinned window explains while another one is active
    // As a shortcut, because the toolkit then also finds the key whose letter belongs to another alphabet.
    auto* pin = new QShortcut(Qt::Key_P, this);
    pin->setAutoRepeat(false);
    connect(pin, &QShortcut::activated, this, [this] { Q_EMIT acted({ PanelAction::Kind::togglePin }); });
}

double PopoverWindow::scaleFor(double textSize)
{
    return std::clamp(textSize / usualTextSize, 1.0, greatestScale);
}

QRegion PopoverWindow::setContent(
    const PopoverPanel& panel, const PanelEnvironment& environment, double scale)
{
    const auto looks = [](const PanelEnvironment& of) {
        return std::tuple(of.scheme, of.direction, of.background, of.metrics, of.font);
    };
    const bool isOtherLook = looks(environment) != looks(m_environment) || scale != m_scale;
    const auto pointer = m_environment.pointer;
    m_environment = environment;
    m_environment.pointer = pointer;
    m_scale = scale;
    const QMargins shadow = (PopoverFrame { true }.margins() * m_scale).toMargins();
    setContentsMargins(std::min(shadow.left(), m_shadowRoom.left()),
        std::min(shadow.top(), m_shadowRoom.top()), std::min(shadow.right(), m_shadowRoom.right()),
        std::min(shadow.bottom(), m_shadowRoom.bottom()));
    const PopoverLayout before = std::exchange(m_layout, PopoverLayout(panel, m_environment));
    m_focus.adopt(m_layout);
    setWindowTitle(m_layout.name());
    PopoverAccessible::tellChanges(*this, before);
    tellFocusLeft();
    const double limited = std::clamp(m_scrolled, 0.0, farthest());
    const bool isScrolled = std::exchange(m_scrolled, limited) != limited;
    followPointer();
    return isOtherLook || isScrolled ? QRegion(rect()) : changedSince(before, pointer);
}

/// The area of the window where parts look different than in an earlier layout, with the pointer at an earlier place.
QRegion PopoverWindow::changedSince(const PopoverLayout& before, const PanelPointer& pointerBefore) const
{
    const QList<PopoverLayout::Place>& now = m_layout.places();
    const QList<PopoverLayout::Place>& then = before.places();
    const auto stand = [](const PopoverLayout::Place& one, const PopoverLayout::Place& other) {
        return one.rect == other.rect;
    };
    if (!std::equal(now.begin(), now.end(), then.begin(), then.end(), stand))
        return QRegion(rect());
    const QRect body = contentsRect();
    const QRect belowHeader = body.adjusted(0, int(m_layout.headerHeight() * m_scale), 0, 0);
    QRegion changed;
    for (qsizetype i = 0; i < now.size(); ++i) {
        for (QRectF area : now[i].part.changes(then[i].part, now[i].rect, m_environment, pointerBefore)) {
            area.translate(0, i == 0 ? 0 : -m_scrolled);
            const QRect shown
                = QRectF(area.topLeft() * m_scale + body.topLeft(), area.size() * m_scale).toAlignedRect();
            changed += i == 0 ? shown : shown & belowHeader;
        }
    }
    return changed;
}

void PopoverWindow::startAnew()
{
    m_focus.clear();
    m_scrolled = 0;
    m_pressed.clear();
}

QSize PopoverWindow::sizeFor(int room) const
{
    return { int(std::ceil(PopoverPanel::width * m_scale)),
        std::min(int(std::ceil(m_layout.height() * m_scale)), std::max(room, 1)) };
}

double PopoverWindow::farthest() const
{
    return std::max(0.0, m_layout.height() - contentsRect().height() / m_scale);
}

void PopoverWindow::scrollTo(double scrolled)
{
    const double limited = std::clamp(scrolled, 0.0, farthest());
    if (limited == std::exchange(m_scrolled, limited))
        return;
    followPointer();
    update();
}

QRectF PopoverWindow::rectOf(const Path& path) const
{
    const PanelElement* element = m_layout.element(path);
    if (!element)
        return {};
    const QPointF offset(0, m_layout.isInHeader(path) ? 0 : m_scrolled);
    const QRectF rect = element->rect.translated(-offset);
    return { rect.topLeft() * m_scale + contentsRect().topLeft(), rect.size() * m_scale };
}

/// The place in the coordinates of the layout; nothing outside of the popover.
std::optional<QPointF> PopoverWindow::contentPoint(const QPointF& place) const
{
    const QRectF body = contentsRect();
    if (!body.contains(place))
        return std::nullopt;
    const QPointF point = (place - body.topLeft()) / m_scale;
    return point.y() < m_layout.headerHeight() ? point : point + QPointF(0, m_scrolled);
}

PopoverWindow::Path PopoverWindow::pressable(const QPointF& place) const
{
    const auto at = contentPoint(place);
    return at ? m_layout.at(*at, [](const PanelElement& element) { return bool(element.action); }) : Path();
}

// Painting

void PopoverWindow::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRect body = contentsRect();
    painter.translate(body.topLeft());
    painter.scale(m_scale, m_scale);
    const QRectF bounds({}, QSizeF(body.size()) / m_scale);
    // Without translucency, the window's mask makes the corners, and what is below their smooth edges must not show.
    if (!testAttribute(Qt::WA_TranslucentBackground))
        painter.fillRect(bounds, PopoverSurface::ground(m_environment.background, m_environment.scheme));
    const bool isShadowTouched = !body.contains(event->region().boundingRect());
    PopoverFrame { isShadowTouched }.draw(painter, bounds, m_environment);
    if (m_layout.places().isEmpty())
        return;

    const auto draw = [&](const PopoverLayout::Place& place) {
        const QRectF shown = painter.transform().mapRect(place.rect);
        if (event->region().intersects(shown.toAlignedRect().marginsAdded({ 1, 1, 1, 1 })))
            place.part.draw(painter, place.rect, m_environment);
    };
    const auto drawRing = [&](bool isInHeader) {
        const PanelElement* focused = m_layout.element(m_focus.shownPath());
        if (!focused || m_layout.isInHeader(m_focus.path()) != isInHeader)
            return;
        PopoverFrame::drawFocusRing(painter, focused->rect, m_environment);
    };
    draw(m_layout.places().first());
    drawRing(true);
    const double top = m_layout.headerHeight();
    painter.save();
    painter.setClipRect(QRectF(0, top, bounds.width(), bounds.height() - top), Qt::IntersectClip);
    painter.translate(0, -m_scrolled);
    for (const PopoverLayout::Place& place : m_layout.places().mid(1)) {
        painter.setRenderHint(QPainter::Antialiasing);
        draw(place);
    }
    drawRing(false);
    painter.restore();
    if (const QRectF bar = scrollBar(); !bar.isEmpty()) {
        QColor colour = m_environment.secondaryTextColour();
        colour.setAlphaF(0.5F);
        painter.setPen(Qt::NoPen);
        painter.setBrush(colour);
        painter.drawRoundedRect(bar, barWidth / 2, barWidth / 2);
    }
}

/// The scroll bar in points of the content, which it may cover; empty if nothing can be scrolled.
QRectF PopoverWindow::scrollBar() const
{
    if (farthest() <= 0)
        return {};
    const double top = m_layout.headerHeight() + barEdge;
    const double way = contentsRect().height() / m_scale - top - barEdge;
    const double whole = m_layout.height() - m_layout.headerHeight();
    const double length
        = std::clamp(way * (whole - farthest()) / whole, shortestBar, std::max(way, shortestBar));
    const double left
        = m_environment.direction == Qt::RightToLeft ? barEdge : PopoverPanel::width - barEdge - barWidth;
    return { left, top + (way - length) * m_scrolled / farthest(), barWidth, length };
}

void PopoverWindow::resizeEvent(QResizeEvent*)
{
    m_scrolled = std::clamp(m_scrolled, 0.0, farthest());
    followPointer();
    if (testAttribute(Qt::WA_TranslucentBackground))
        return;
    setMask(roundedRegion(size(), PopoverFrame::radius * m_scale));
}

// The pointer

/// Finds what is below the pointer, after the content or the window's size has changed.
void PopoverWindow::followPointer()
{
    m_environment.pointer = m_pointer ? contentPoint(*m_pointer) : std::nullopt;
    const bool isHand = m_pointer && !pressable(*m_pointer).isEmpty();
    if (const auto shape = isHand ? Qt::PointingHandCursor : Qt::ArrowCursor; shape != cursor().shape())
        setCursor(shape);
    holdList();
}

void PopoverWindow::point(const std::optional<QPointF>& place)
{
    m_pointer = place;
    const auto before = m_environment.pointer;
    followPointer();
    update(changedSince(m_layout, before));
}

void PopoverWindow::enterEvent(QEnterEvent* event)
{
    point(event->position());
}

void PopoverWindow::mouseMoveEvent(QMouseEvent* event)
{
    point(event->position());
}

void PopoverWindow::leaveEvent(QEvent*)
{
    point(std::nullopt);
}

/// A pointer that rests while the window moves below it causes no event of its own.
void PopoverWindow::moveEvent(QMoveEvent*)
{
    if (m_pointer)
        point(mapFromGlobal(QPointF(QCursor::pos())));
}

void PopoverWindow::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    m_pressed = pressable(event->position());
    hideFocus();
}

void PopoverWindow::hideFocus()
{
    if (!m_focus.isShown())
        return;
    m_focus.hide();
    holdList();
    tellFocusLeft();
    update();
}

/// Tells screen readers that no element has the focus any more, if the window itself has it still.
void PopoverWindow::tellFocusLeft()
{
    if (std::exchange(m_isFocusInside, m_focus.isShown()) && !m_isFocusInside && hasFocus())
        PopoverAccessible::tellFocus(*this);
}

void PopoverWindow::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    const Path pressed = std::exchange(m_pressed, {});
    if (!pressed.isEmpty() && pressable(event->position()) == pressed)
        press(pressed);
}

void PopoverWindow::wheelEvent(QWheelEvent* event)
{
    const double pixels = event->pixelDelta().y() / m_scale;
    scrollTo(m_scrolled - (pixels != 0 ? pixels : event->angleDelta().y() / 120.0 * wheelStep));
    point(event->position());
}

void PopoverWindow::contextMenuEvent(QContextMenuEvent* event)
{
    // The menu key has its own way, below.
    if (event->reason() == QContextMenuEvent::Mouse)
        Q_EMIT menuRequested();
}

bool PopoverWindow::event(QEvent* event)
{
    // A pinned window stays, but nobody is at its rows: those that are held would never change again.
    if (event->type() == QEvent::WindowDeactivate)
        hideFocus();
    if (event->type() != QEvent::ToolTip)
        return QWidget::event(event);
    const QPoint at = static_cast<QHelpEvent*>(event)->pos();
    const auto place = contentPoint(at);
    const Path path = place
        ? m_layout.at(*place, [](const PanelElement& element) { return !element.tip.isEmpty(); })
        : Path();
    const PanelElement* element = m_layout.element(path);
    Q_EMIT tipRequested(at, element ? element->tip : QString(), rectOf(path).toAlignedRect());
    return true;
}

/// Tells whether ranked rows are to keep their places: the pointer is over their list, or one has the focus.
void PopoverWindow::holdList()
{
    const PanelElement* focused = m_layout.element(m_focus.shownPath());
    const bool isHeld = m_environment.isPointed(m_layout.rankedArea()) || (focused && focused->isRanked);
    if (isHeld != std::exchange(m_isListHeld, isHeld))
        Q_EMIT listHeld(isHeld);
}

void PopoverWindow::press(const Path& path)
{
    // A copy, because the receiver may give the window other content.
    const PanelElement* element = m_layout.element(path);
    const PanelAction action = element ? element->action : PanelAction();
    if (action)
        Q_EMIT acted(action);
}

} // namespace kestrum
