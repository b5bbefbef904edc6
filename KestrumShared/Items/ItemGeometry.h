// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>

namespace kestrum {

/// The measures of menu-bar items in points. Vertical positions are measured from an item's bottom edge.
namespace ItemGeometry {

/// The margin to the left of the label and at the right end of an item.
inline constexpr double margin = 1;

inline constexpr double symbolPointSize = 12;
/// The width and height that are reserved for a symbol without a picture.
inline constexpr double missingSymbolSide = 13;
inline constexpr double lettersWidth = 6;
inline constexpr double letterDistance = 5.5;

inline constexpr double frameLineWidth = 0.8;
inline constexpr double tallMeterBottom = 1.5;
inline constexpr double tallMeterHeight = 20;

/// The width of the wave and of the compact meter.
inline constexpr double fixedMeterWidth = 46;
inline constexpr double compactMeterHeight = 10;
inline constexpr double compactMeterBottom = 6; // centres the meter in the item's height
inline constexpr double compactInset = 1.5;
inline constexpr double waveInset = 2;

inline constexpr double barWidth = 4.9;
inline constexpr double barGap = 1;
inline constexpr double barInset = 2;
inline constexpr double fullBarHeight = 16.5;
inline constexpr double leastBarHeight = 1.5;

inline constexpr double gaugeWidth = 8;
inline constexpr double gaugeInset = 2;
inline constexpr double leastFill = 2;
/// The outer half of the line of a gauge's frame. Room for this half is reserved to the right of a gauge. The CPU item
/// needs no such room, because its readout is far enough from its meter.
inline constexpr double gaugeOverhang = frameLineWidth / 2;

inline double barsMeterWidth(int totalCores)
{
    const int bars = std::max(totalCores, 1);
    return (bars - 1) * barGap + bars * barWidth + 2 * barInset;
}

} // namespace ItemGeometry
} // namespace kestrum
