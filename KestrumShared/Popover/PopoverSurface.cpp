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

/// The material under a thin black layer, as one colour: a tall translucent area is drawn only once.
QColor shadedMaterial(ColourScheme scheme, bool blendsWithinWindow)
{
    constexpr float shade = 0.07F;
    const QColor tint = StablePopoverMaterial { blendsWithinWindow }.tint(scheme);
    const float below = tint.alphaF() * (1 - shade);
    const float alpha = shade + below;
    const float share = below / alpha;
    return QColor::fromRgbF(tint.redF() * share, tint.greenF() * share, tint.blueF() * share, alpha);
}

} // namespace

QColor PopoverSurface::ground(PopoverBackground background, ColourScheme scheme)
{
    if (background == PopoverBackground::opaque)
        return opaqueGround(scheme);
    const QColor worst = scheme == ColourScheme::dark ? Qt::white : Qt::black;
    return Contrast::laidOver(shadedMaterial(scheme, false), worst);
}

void PopoverSurface::draw(
    QPainter& painter, const QRectF& rect, double cornerRadius, const PanelEnvironment& environment) const
{
    const auto chosen = background ? *background : Setting { Keys::popoverBackground }.value();
    painter.setPen(Qt::NoPen);
    painter.setBrush(chosen == PopoverBackground::opaque
            ? opaqueGround(environment.scheme)
            : shadedMaterial(environment.scheme, blendsWithinWindow));
    painter.drawRoundedRect(rect, cornerRadius, cornerRadius);
}

} // namespace kestrum
