// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>

namespace kestrum {

/// Measures of a menu-bar item in points, from its bottom left corner. Drawing and measuring both use them.
namespace ItemGeometry {

/// Left of the label, and again at the far end of an item.
inline constexpr double margin = 1;

inline constexpr double symbolPointSize = 12;
/// The room for a symbol that has no drawing.
inline constexpr double missingSymbolSide = 13;
inline constexpr double lettersWidth = 6;
inline constexpr double letterDistance = 5.5;

inline constexpr double frameLineWidth = 0.8;
inline constexpr double tallMeterBottom = 1.5;
inline constexpr double tallMeterHeight = 20;

/// Of the wave and the compact meter.
inline constexpr double fixedMeterWidth = 46;
inline constexpr double compactMeterHeight = 10;
inline constexpr double compactMeterBottom = 6; // in the middle of the item
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
/// The outer half of the frame's line, for which room is kept beside the narrow gauges only: the readout of
/// the CPU keeps enough distance without it.
inline constexpr double gaugeOverhang = frameLineWidth / 2;

inline double barsMeterWidth(int totalCores)
{
    const int bars = std::max(totalCores, 1);
    return (bars - 1) * barGap + bars * barWidth + 2 * barInset;
}

} // namespace ItemGeometry
} // namespace kestrum
