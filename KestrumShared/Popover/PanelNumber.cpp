// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/PanelNumber.h"

#include "KestrumShared/Popover/IsolatedRuns.h"

namespace kestrum {
namespace {

/// A text without letters of right-to-left scripts is drawn digit by digit from the left, and needs no marks.
QString ordered(const QString& text, Qt::LayoutDirection direction)
{
    return direction == Qt::RightToLeft && hasRightToLeft(text) ? isolatedRuns(text) : text;
}

} // namespace

PanelNumber::PanelNumber(const QString& text, const QFont& font, const PanelEnvironment& environment)
    : m_digits(font)
    , m_text(ordered(text, environment.direction))
    , m_width(m_digits.width(m_text))
{
}

void PanelNumber::draw(
    QPainter& painter, const QRectF& rect, const QColor& colour, const PanelEnvironment& environment) const
{
    const QRectF end = environment.fromLeading(rect, rect.width() - m_width, m_width);
    const double baseLine = end.center().y() + m_digits.lineHeight() / 2 - m_digits.descent();
    painter.setLayoutDirection(environment.direction);
    m_digits.draw(painter, QPointF(end.left(), baseLine), m_text, colour);
}

} // namespace kestrum
