// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/PopoverSurface.h"

#include "KestrumShared/Popover/StablePopoverMaterial.h"
#include "KestrumShared/Settings/Setting.h"

namespace kestrum {
namespace {

QColor opaqueGround(ColourScheme scheme)
{
    return scheme == ColourScheme::dark ? QColor::fromRgbF(0.12F, 0.13F, 0.14F)
                                        : QColor::fromRgbF(0.78F, 0.80F, 0.82F);
}

constexpr float shade = 0.07F; ///< opacity of the black layer over the translucent material

} // namespace

void PopoverSurface::draw(
    QPainter& painter, const QRectF& rect, double cornerRadius, const PanelEnvironment& environment) const
{
    const auto chosen = background ? *background : Setting { Keys::popoverBackground }.value();
    const bool isOpaque = chosen == PopoverBackground::opaque;
    if (!isOpaque)
        StablePopoverMaterial { blendsWithinWindow }.draw(painter, rect, cornerRadius, environment);
    painter.setPen(Qt::NoPen);
    painter.setBrush(isOpaque ? opaqueGround(environment.scheme) : QColor::fromRgbF(0, 0, 0, shade));
    painter.drawRoundedRect(rect, cornerRadius, cornerRadius);
}

} // namespace kestrum
