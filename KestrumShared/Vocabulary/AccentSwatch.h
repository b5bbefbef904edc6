// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Vocabulary/MeterAccent.h"

#include <QImage>

namespace kestrum {

/// Small pictures of accents for pickers.
namespace AccentSwatch {

/// A square of `size` × `size` points filled with the accent, with a thin darker edge, drawn at `scale` pixels per point.
/// Cached until the process ends. Null when `size` or `scale` is not above 0. Main thread only.
QImage image(const MeterAccent& accent, double size, double scale = 1);

/// Like `image`, but drawn at each call and not cached: for the many colours that a user moves through in a picker.
QImage drawn(const MeterAccent& accent, double size, double scale = 1);

/// The cache key of a swatch, such as "indigo@14.0".
QString cacheKey(const MeterAccent& accent, double size);

} // namespace AccentSwatch
} // namespace kestrum
