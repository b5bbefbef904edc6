// SPDX-License-Identifier: MIT
#include "KestrumShared/Items/ItemDrawing.h"

#include "KestrumShared/Items/ItemGeometry.h"
#include "KestrumShared/Items/ItemSprites.h"
#include "KestrumShared/Items/StatusMetricView.h"

#include <algorithm>

namespace kestrum {

using namespace ItemGeometry;

void ItemDrawing::strokeFrame(const QRectF& rect, double squareRadius, double pillRadius)
{
    canvas.strokeRoundedRect(rect, appearance.shape == MeterShape::square ? squareRadius : pillRadius,
        frameLineWidth, QColor::fromRgbF(0.43F, 0.43F, 0.45F, 0.92F));
}

void ItemDrawing::fill(const QRectF& rect, const QColor& colour)
{
    const double radius = std::min(rect.width(), rect.height()) / 2;
    if (appearance.shape == MeterShape::pill && radius > 0)
        canvas.fillRoundedRect(rect, radius, colour);
    else
        canvas.fillRect(rect, colour);
}

void ItemDrawing::gauge(const QRectF& frame, double fraction, const UnregisteredKey<MeterAccent>& accent)
{
    strokeFrame(frame, 0.8, gaugeWidth / 2);
    const QRectF inner = frame.adjusted(gaugeInset, gaugeInset, -gaugeInset, -gaugeInset);
    fill(QRectF(inner.left(), inner.top(), inner.width(), std::max(leastFill, inner.height() * fraction)),
        appearance.accent(accent));
}

void ItemDrawing::symbol(MonitorSection section, const QPointF& bottomLeft)
{
    const QImage image
        = ItemSprites::symbol(StatusMetricView::symbolName(section), symbolPointSize, ink.label, scale);
    if (!image.isNull())
        canvas.drawImage(bottomLeft, image);
}

} // namespace kestrum
