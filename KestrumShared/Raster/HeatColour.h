// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Raster/LabelColour.h"

namespace kestrum {

/// The colours of temperatures in the readout of the sensors' item. All other texts of items have the label colour.
namespace HeatColour {

/// The lowest temperatures of the two warning colours, in degrees Celsius. A footnote in the settings shows these numbers.
inline constexpr double amberFrom = 85;
inline constexpr double redFrom = 95;

/// The colour of a temperature in degrees Celsius; `label` below `amberFrom`. The warning colours are dark on the
/// light plate and pale on the dark plate, so that they are readable.
inline QColor of(double celsius, ColourScheme scheme, const QColor& label)
{
    const bool isDark = scheme == ColourScheme::dark;
    if (celsius >= redFrom)
        return isDark ? QColor(0xFF, 0x8A, 0x80) : QColor(0xA6, 0x00, 0x1C);
    if (celsius >= amberFrom)
        return isDark ? QColor(0xFF, 0xC2, 0x47) : QColor(0x7A, 0x43, 0x00);
    return label;
}
inline QColor of(double celsius, ColourScheme scheme)
{
    return of(celsius, scheme, labelColour(scheme));
}

} // namespace HeatColour
} // namespace kestrum
