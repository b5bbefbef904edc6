// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/PanelText.h"

#include "KestrumShared/Popover/IsolatedRuns.h"

#include <QFontMetricsF>
#include <algorithm>
#include <cmath>

namespace kestrum {

// The height is rounded to whole points, so that the next part does not begin between two pixels.
double PanelText::height(const PanelEnvironment&) const
{
    return std::round(QFontMetricsF(font).height());
}

void PanelText::draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const
{
    const bool isFromRight = environment.direction == Qt::RightToLeft;
    painter.setFont(font);
    painter.setPen(colour);
    painter.setLayoutDirection(environment.direction);
    QString shown = QFontMetricsF(font).elidedText(text, Qt::ElideRight, std::max(0.0, rect.width()));
    if (isFromRight)
        shown = isolatedRuns(shown);
    // With absolute alignment, the text's own direction has no effect: in a left-to-right panel, right-to-left text is also
    // aligned to the left.
    const int edge = int(Qt::AlignAbsolute) | int(isFromRight ? Qt::AlignRight : Qt::AlignLeft);
    painter.drawText(rect, edge | int(Qt::AlignVCenter) | int(Qt::TextSingleLine | Qt::TextDontClip), shown);
}

} // namespace kestrum
