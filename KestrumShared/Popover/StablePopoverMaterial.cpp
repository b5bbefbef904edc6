// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/StablePopoverMaterial.h"

namespace kestrum {

QColor StablePopoverMaterial::tint(ColourScheme scheme) const
{
    if (scheme == ColourScheme::dark)
        return QColor::fromRgbF(0.11F, 0.11F, 0.13F, blendsWithinWindow ? 0.60F : 0.90F);
    return QColor::fromRgbF(0.98F, 0.98F, 0.99F, blendsWithinWindow ? 0.75F : 0.96F);
}

void StablePopoverMaterial::draw(
    QPainter& painter, const QRectF& rect, double cornerRadius, const PanelEnvironment& environment) const
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(tint(environment.scheme));
    painter.drawRoundedRect(rect, cornerRadius, cornerRadius);
}

} // namespace kestrum
