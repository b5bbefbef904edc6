// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Raster/LabelColour.h"

namespace kestrum {

/// How the readout of the sensors' item warns where it is a temperature. All other texts of items have the labels' colour.
namespace HeatColour {

/// From so many degrees Celsius on it has another colour. The page's footnote shows these numbers too.
inline constexpr double amberFrom = 85;
inline constexpr double redFrom = 95;

/// The colour of a temperature in degrees Celsius; the labels' below all warnings. As texts on the strip's plate need
/// to be: deep on the light one, pale on the dark one.
inline QColor of(double celsius, ColourScheme scheme)
{
    const bool isDark = scheme == ColourScheme::dark;
    if (celsius >= redFrom)
        return isDark ? QColor(0xFF, 0x8A, 0x80) : QColor(0xA6, 0x00, 0x1C);
    if (celsius >= amberFrom)
        return isDark ? QColor(0xFF, 0xC2, 0x47) : QColor(0x7A, 0x43, 0x00);
    return labelColour(scheme);
}

} // namespace HeatColour
} // namespace kestrum
