// SPDX-License-Identifier: MIT
#include "Kestrum/Form/ShrinkingLabel.h"

#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>
#include <algorithm>
#include <cmath>

namespace kestrum {

namespace {

constexpr double smallestFactor = 0.8;
constexpr double shrinkingStep = 0.02;

} // namespace

ShrinkingLabel::ShrinkingLabel(Theme::TextStyle style, Theme::Colour colour, QWidget* parent)
    : QLabel(parent)
    , m_colour(colour)
{
    setFont(Theme::font(style));
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void ShrinkingLabel::setMayWrap(bool mayWrap)
{
    m_mayWrap = mayWrap;
    updateGeometry();
}

bool ShrinkingLabel::isWrapped() const
{
    const QFontMetricsF metrics(font());
    const double room = contentsRect().width();
    if (!m_mayWrap || metrics.horizontalAdvance(text()) <= room)
        return false;
    const QRectF lines = metrics.boundingRect(QRectF(0, 0, room, QWIDGETSIZE_MAX), Qt::TextWordWrap, text());
    return lines.width() <= room && lines.height() < 2.5 * metrics.lineSpacing();
}

QFont ShrinkingLabel::shownFont() const
{
    if (isWrapped())
        return font();
    const double room = contentsRect().width();
    const auto width = [this](const QFont& font) { return QFontMetricsF(font).horizontalAdvance(text()); };
    QFont shown = font();
    // Text widths are only roughly proportional to font sizes.
    double factor = std::clamp(room / std::max(width(shown), 1.0), smallestFactor, 1.0);
    shown.setPointSizeF(font().pointSizeF() * factor);
    while (width(shown) > room && factor > smallestFactor) {
        factor = std::max(factor - shrinkingStep, smallestFactor);
        shown.setPointSizeF(font().pointSizeF() * factor);
    }
    return shown;
}

QString ShrinkingLabel::shownText() const
{
    return isWrapped()
        ? text()
        : QFontMetricsF(shownFont()).elidedText(text(), Qt::ElideRight, contentsRect().width());
}

QSize ShrinkingLabel::sizeHint() const
{
    const QFontMetricsF metrics(font());
    const double height = metrics.height() + (isWrapped() ? metrics.lineSpacing() : 0);
    return { int(std::ceil(metrics.horizontalAdvance(text()))), int(std::ceil(height)) };
}

QSize ShrinkingLabel::minimumSizeHint() const
{
    return { 0, sizeHint().height() };
}

bool ShrinkingLabel::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip)
        return QLabel::event(event);
    if (shownText() != text())
        QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), text(), this);
    return true;
}

void ShrinkingLabel::resizeEvent(QResizeEvent* event)
{
    QLabel::resizeEvent(event);
    // The preferred height depends on the width.
    if (m_mayWrap && event->size().width() != event->oldSize().width())
        updateGeometry();
}

void ShrinkingLabel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setLayoutDirection(layoutDirection());
    painter.setFont(shownFont());
    painter.setPen(Theme::colour(m_colour));
    const int lines = isWrapped() ? Qt::TextWordWrap : Qt::TextSingleLine;
    painter.drawText(contentsRect(), int(Qt::AlignLeading | Qt::AlignVCenter) | lines, shownText());
}

} // namespace kestrum
