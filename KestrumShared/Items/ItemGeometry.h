// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>

namespace kestrum {

/// Measures of a menu-bar item in points, from its bottom left corner. Drawing and measuring both use them.
namespace ItemGeometry {

/// The margin to the left of the label and at the right end of an item.
inline constexpr double margin = 1;

inline constexpr double symbolPointSize = 12;
/// Width and height of the room for a symbol that has no picture.
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
/// The outer half of the frame's line. Room is reserved for it only beside the narrow gauges: the readout of the CPU is far
/// enough from its meter.
inline constexpr double gaugeOverhang = frameLineWidth / 2;

inline double barsMeterWidth(int totalCores)
{
    const int bars = std::max(totalCores, 1);
    return (bars - 1) * barGap + bars * barWidth + 2 * barInset;
}

} // namespace ItemGeometry
} // namespace kestrum
