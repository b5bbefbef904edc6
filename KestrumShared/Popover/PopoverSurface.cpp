// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/PopoverSurface.h"

#include "KestrumShared/Popover/StablePopoverMaterial.h"
#include "KestrumShared/Raster/Contrast.h"
#include "KestrumShared/Settings/Setting.h"

namespace kestrum {
namespace {

QColor opaqueGround(ColourScheme scheme)
{
    return scheme == ColourScheme::dark ? QColor::fromRgbF(0.12F, 0.13F, 0.14F)
                                        : QColor::fromRgbF(0.78F, 0.80F, 0.82F);
}

/// The black layer over the translucent material.
QColor shade()
{
    return QColor::fromRgbF(0, 0, 0, 0.07F);
}

} // namespace

QColor PopoverSurface::ground(PopoverBackground background, ColourScheme scheme)
{
    if (background == PopoverBackground::opaque)
        return opaqueGround(scheme);
    const QColor worst = scheme == ColourScheme::dark ? Qt::white : Qt::black;
    return Contrast::laidOver(shade(), Contrast::laidOver(StablePopoverMaterial {}.tint(scheme), worst));
}

void PopoverSurface::draw(
    QPainter& painter, const QRectF& rect, double cornerRadius, const PanelEnvironment& environment) const
{
    const auto chosen = background ? *background : Setting { Keys::popoverBackground }.value();
    const bool isOpaque = chosen == PopoverBackground::opaque;
    if (!isOpaque)
        StablePopoverMaterial { blendsWithinWindow }.draw(painter, rect, cornerRadius, environment);
    painter.setPen(Qt::NoPen);
    painter.setBrush(isOpaque ? opaqueGround(environment.scheme) : shade());
    painter.drawRoundedRect(rect, cornerRadius, cornerRadius);
}

} // namespace kestrum
