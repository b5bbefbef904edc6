// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Vocabulary/MeterAccent.h"

#include <QImage>

namespace kestrum {

/// Small pictures of accents for pickers.
namespace AccentSwatch {

/// A picture of `size` × `size` points in the accent's colour, with a thin darker edge. `scale` is pixels per point. The
/// picture is cached until the process ends. Null if `size` or `scale` is not above 0. Main thread only.
QImage image(const MeterAccent& accent, double size, double scale = 1);

/// Like `image`, but not cached: a user who drags in a colour picker passes through many colours.
QImage drawn(const MeterAccent& accent, double size, double scale = 1);

/// The cache key of a picture at scale 1, such as "indigo@14.0".
QString cacheKey(const MeterAccent& accent, double size);

} // namespace AccentSwatch
} // namespace kestrum
