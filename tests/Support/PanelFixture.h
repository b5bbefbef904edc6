#pragma once

#include "KestrumShared/Popover/PanelEnvironment.h"
#include "tests/Support/DrawingFixture.h"
#include "tests/Support/PanelPixels.h"

namespace kestrum {

/// Draws parts of a panel in tests.
namespace PanelFixture {

/// A panel with texts of 10 points.
inline PanelEnvironment in(ColourScheme scheme, Qt::LayoutDirection direction = Qt::LeftToRight)
{
    PanelEnvironment environment;
    environment.scheme = scheme;
    environment.direction = direction;
    environment.font = PanelEnvironment::systemFont(10);
    return environment;
}
inline constexpr ColourScheme light = ColourScheme::light;
inline constexpr ColourScheme dark = ColourScheme::dark;
/// Draws the part, `width` points wide, on white, or on black in the dark scheme.
template <class Part>
PanelPixels drawn(const Part& part, const PanelEnvironment& environment, double width = 200)
{
    const QRectF rect(0, 0, width, part.height(environment));
    return PanelPixels(
        rect.size(), [&](QPainter& painter) { part.draw(painter, rect, environment); },
        environment.scheme == ColourScheme::dark ? Qt::black : Qt::white);
}

/// Height of the title row of a part, in a line of 10 points, and of the space below it.
inline constexpr double titleRoom = 19;
inline const QRectF everywhere(0, 0, 10000, 10000);

} // namespace PanelFixture
} // namespace kestrum
