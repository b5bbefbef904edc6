// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Vocabulary/MeterAccent.h"

#include <QImage>

namespace kestrum {

/// Small pictures of accents for pickers.
namespace AccentSwatch {

/// A square of `size` × `size` points filled with the accent, with a thin darker edge; drawn at `scale` pixels a
/// point and kept for the life of the process. Null when `size` or `scale` is not above 0. Main thread only.
QImage image(const MeterAccent& accent, double size, double scale = 1);

/// The same, drawn anew and not kept: for colours that somebody moves through, of which there is no end.
QImage drawn(const MeterAccent& accent, double size, double scale = 1);

/// Under which key a swatch is kept, such as "indigo@14.0".
QString cacheKey(const MeterAccent& accent, double size);

} // namespace AccentSwatch
} // namespace kestrum
