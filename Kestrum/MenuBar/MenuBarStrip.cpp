// SPDX-License-Identifier: MIT
#include "Kestrum/MenuBar/MenuBarStrip.h"

#include "Kestrum/MenuBar/MenuBarStripView.h"
#include "Kestrum/MenuBar/MoreMark.h"

#include <QTimerEvent>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

namespace kestrum {

namespace {

/// During a drag, the strip scrolls while the pointer is less than `edge` points from an end of the visible part: by
/// `dragScrollStep` points every `dragScrollInterval` milliseconds.
constexpr int edge = 20;
constexpr int dragScrollStep = 6;
constexpr int dragScrollInterval = 16;

constexpr int narrowest = 120;

} // namespace

MenuBarStrip::MenuBarStrip(QWidget* parent)
    : QWidget(parent)
    , m_view(new MenuBarStripView(this))
    , m_moreLeft(new MoreMark(Qt::LeftEdge, this))
    , m_moreRight(new MoreMark(Qt::RightEdge, this))
{
    setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    connect(m_view, &MenuBarStripView::rebuilt, this, [this] {
        updateGeometry();
        place();
    });
    connect(m_view, &MenuBarStripView::dragMoved, this, &MenuBarStrip::followDrag);
    connect(m_view, &MenuBarStripView::itemFocused, this, [this](const QRectF& rect) {
        const QRect wanted = rect.toAlignedRect().marginsAdded({ MoreMark::extent, 0, MoreMark::extent, 0 });
        if (wanted.left() < m_offset)
            scrollTo(wanted.left());
        else if (wanted.right() >= m_offset + width())
            scrollTo(wanted.right() + 1 - width());
    });
    connect(m_moreLeft, &MoreMark::clicked, this, [this] { scrollOn(-1); });
    connect(m_moreRight, &MoreMark::clicked, this, [this] { scrollOn(1); });
    place();
}

QSize MenuBarStrip::sizeHint() const
{
    return m_view->sizeHint();
}

QSize MenuBarStrip::minimumSizeHint() const
{
    const QSize whole = sizeHint();
    return { std::min(whole.width(), narrowest), whole.height() };
}

int MenuBarStrip::furthestOffset() const
{
    return std::max(0, m_view->sizeHint().width() - width());
}

void MenuBarStrip::place()
{
    // While the whole strip is in view, an earlier scroll position is forgotten.
    m_wasScrolled = m_wasScrolled && furthestOffset() > 0;
    if (!m_wasScrolled)
        m_offset = layoutDirection() == Qt::RightToLeft ? 0 : furthestOffset();
    m_offset = std::clamp(m_offset, 0, furthestOffset());
    m_view->setGeometry(QRect(QPoint(-m_offset, 0), m_view->sizeHint()));
    m_moreLeft->setGeometry(0, 0, MoreMark::extent, height());
    m_moreRight->setGeometry(width() - MoreMark::extent, 0, MoreMark::extent, height());
    m_moreLeft->setVisible(m_offset > 0);
    m_moreRight->setVisible(m_offset < furthestOffset());
}

void MenuBarStrip::scrollTo(int offset)
{
    m_offset = offset;
    m_wasScrolled = true;
    place();
}

/// Scrolls by the width that is visible between the marks. A `direction` of −1 is left, 1 is right.
void MenuBarStrip::scrollOn(int direction)
{
    scrollTo(m_offset + direction * std::max(edge, width() - 2 * MoreMark::extent));
}

bool MenuBarStrip::event(QEvent* event)
{
    if (event->type() == QEvent::Resize || event->type() == QEvent::LayoutDirectionChange)
        place();
    return QWidget::event(event);
}

void MenuBarStrip::wheelEvent(QWheelEvent* event)
{
    const bool isSmooth = !event->pixelDelta().isNull();
    const QPoint delta = isSmooth ? event->pixelDelta() : event->angleDelta() / 2;
    const bool isSideways = std::abs(delta.x()) > std::abs(delta.y());
    // Vertical turns of the wheel scroll the page. Turns that are meant for the strip never scroll the page, even at the strip's
    // ends.
    const bool isOurs
        = (isSideways || event->modifiers().testFlag(Qt::ShiftModifier)) && furthestOffset() > 0;
    event->setAccepted(isOurs);
    if (isOurs)
        scrollTo(m_offset - (isSideways ? delta.x() : delta.y()));
}

void MenuBarStrip::followDrag(const QPointF& viewPoint)
{
    m_pointer = m_view->mapToParent(viewPoint.toPoint());
    const bool isAtEdge = m_pointer.x() < edge || m_pointer.x() > width() - edge;
    if (!isAtEdge || furthestOffset() == 0)
        m_dragScroll.stop();
    else if (!m_dragScroll.isActive())
        m_dragScroll.start(dragScrollInterval, this);
}

void MenuBarStrip::timerEvent(QTimerEvent* event)
{
    if (event->timerId() != m_dragScroll.timerId()) {
        QWidget::timerEvent(event);
        return;
    }
    const int step = m_pointer.x() < edge ? -dragScrollStep : dragScrollStep;
    const int wanted = std::clamp(m_offset + step, 0, furthestOffset());
    if (!m_view->dragged() || wanted == m_offset) {
        m_dragScroll.stop();
        return;
    }
    scrollTo(wanted);
    // The strip has moved under the resting pointer, so the dragged item must move too.
    m_view->drag(m_view->mapFromParent(m_pointer.toPoint()));
}

} // namespace kestrum
