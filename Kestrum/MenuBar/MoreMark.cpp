// SPDX-License-Identifier: MIT
#include "Kestrum/MenuBar/MoreMark.h"

#include "Kestrum/Form/Theme.h"

#include <QLinearGradient>
#include <QMouseEvent>
#include <QPainter>

namespace kestrum {

namespace {

/// The mark is opaque up to this distance from the edge, so that no item is visible behind the chevron.
constexpr double opaqueWidth = 16;
constexpr double chevronMiddle = 8;
constexpr double chevronReach = 2; // half the chevron's width and a quarter of its height
constexpr double chevronLine = 1.75;

} // namespace

MoreMark::MoreMark(Qt::Edge edge, QWidget* parent)
    : QWidget(parent)
    , m_edge(edge)
{
    hide();
}

void MoreMark::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const bool isLeft = m_edge == Qt::LeftEdge;
    const double outermost = isLeft ? 0 : extent;
    const double inwards = isLeft ? 1 : -1;
    const QColor plate = Theme::colour(Theme::Colour::previewPlate);
    QColor nothing = plate;
    nothing.setAlpha(0);
    QLinearGradient fade(outermost, 0, outermost + inwards * extent, 0);
    fade.setColorAt(0, plate);
    fade.setColorAt(opaqueWidth / extent, plate);
    fade.setColorAt(1, nothing);
    painter.fillRect(rect(), fade);

    painter.setRenderHint(QPainter::Antialiasing);
    const auto colour = underMouse() ? Theme::Colour::text : Theme::Colour::secondaryText;
    painter.setPen(QPen(Theme::colour(colour), chevronLine, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const QPointF tip(outermost + inwards * (chevronMiddle - chevronReach), height() / 2.0);
    const QPointF foot(inwards * 2 * chevronReach, 2 * chevronReach);
    painter.drawPolyline(QPolygonF { tip + foot, tip, tip + QPointF(foot.x(), -foot.y()) });
}

void MoreMark::enterEvent(QEnterEvent*)
{
    update();
}

void MoreMark::leaveEvent(QEvent*)
{
    update();
}

void MoreMark::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        Q_EMIT clicked();
}

} // namespace kestrum
