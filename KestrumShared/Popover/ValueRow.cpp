// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/ValueRow.h"

#include "KestrumShared/Popover/PanelText.h"
#include "KestrumShared/Popover/PixelGrid.h"
#include "KestrumShared/Raster/MonospacedDigits.h"

#include <algorithm>

namespace kestrum {
namespace {

constexpr double spacing = 6;
constexpr double dotSize = 7;
constexpr double dotRadius = 1;

PanelText titleText(const ValueRow& row, const PanelEnvironment& environment)
{
    return { row.title, environment.font, environment.secondaryTextColour() };
}

} // namespace

double ValueRow::height(const PanelEnvironment& environment) const
{
    return std::max(titleText(*this, environment).height(environment), colour ? dotSize : 0);
}

void ValueRow::draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const
{
    double start = 0;
    if (colour) {
        QRectF dot = environment.fromLeading(rect, 0, dotSize);
        dot.setTop(rect.center().y() - dotSize / 2);
        dot.setHeight(dotSize);
        painter.setPen(Qt::NoPen);
        painter.setBrush(*colour);
        painter.drawRoundedRect(PixelGrid::aligned(dot, painter), dotRadius, dotRadius);
        start = dotSize + spacing;
    }

    const MonospacedDigits digits(environment.font);
    const double valueWidth = digits.width(value);
    const QRectF end = environment.fromLeading(rect, rect.width() - valueWidth, valueWidth);
    const double baseLine = end.center().y() + digits.lineHeight() / 2 - digits.descent();
    digits.draw(painter, QPointF(end.left(), baseLine), value, environment.textColour());

    const double titleRoom = rect.width() - start - (value.isEmpty() ? 0 : valueWidth + spacing);
    titleText(*this, environment).draw(painter, environment.fromLeading(rect, start, titleRoom), environment);
}

} // namespace kestrum
