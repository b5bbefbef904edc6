// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/MetricProgressBar.h"

#include "KestrumShared/Popover/PixelGrid.h"

#include <algorithm>

namespace kestrum {
namespace {

constexpr double progressBarHeight = 8;
constexpr double progressBarRadius = 2;

QColor trackColour(ColourScheme scheme)
{
    return scheme == ColourScheme::dark ? QColor::fromRgbF(0, 0, 0, 0.3F)
                                        : QColor::fromRgbF(0.45F, 0.46F, 0.48F, 0.45F);
}

QColor ownFill(ColourScheme scheme)
{
    return scheme == ColourScheme::dark ? QColor::fromRgbF(0.25F, 0.62F, 0.96F)
                                        : QColor::fromRgbF(0.12F, 0.52F, 0.88F);
}

} // namespace

double MetricProgressBar::height(const PanelEnvironment&) const
{
    return progressBarHeight;
}

void MetricProgressBar::draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const
{
    const QRectF track = PixelGrid::aligned(rect, painter);
    painter.setPen(Qt::NoPen);
    painter.setBrush(trackColour(environment.scheme));
    painter.drawRoundedRect(track, progressBarRadius, progressBarRadius);
    if (!(value > 0.0))
        return;
    const QRectF fill = environment.fromLeading(track, 0, track.width() * std::min(*value, 1.0));
    painter.setBrush(fillColour.value_or(ownFill(environment.scheme)));
    painter.drawRoundedRect(fill, progressBarRadius, progressBarRadius);
}

QList<PanelElement> MetricProgressBar::describe(const QRectF& rect, const PanelEnvironment&) const
{
    PanelElement bar;
    bar.role = PanelElement::Role::bar;
    bar.name = name;
    bar.rect = rect;
    if (value)
        bar.fraction = *value > 0 ? std::min(*value, 1.0) : 0;
    return { bar };
}

} // namespace kestrum
