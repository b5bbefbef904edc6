// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Desktop/SystemAppearance.h"

#include <QColor>

namespace kestrum {

/// How well a colour stands out of another one, and how it is changed to stand out better.
namespace Contrast {

/// The contrast ratio of two colours, 1 to 21. A translucent `colour` is first laid over `ground`.
double ratio(const QColor& colour, const QColor& ground);

/// The opaque colour of `colour`, which may be translucent, over the opaque `ground`.
QColor laidOver(const QColor& colour, const QColor& ground);

/// `colour`, one small step darker. Its hue stays.
QColor darker(const QColor& colour);
/// `colour`, one small step further from a medium grey: darker in the light scheme, lighter in the dark one.
QColor stepped(const QColor& colour, ColourScheme scheme);

/// `colour`, changed in steps until its ratio to `ground` is at least `least`. Where no colour has that ratio, the result is
/// black in the light scheme and white in the dark one.
QColor readable(const QColor& colour, const QColor& ground, double least, ColourScheme scheme);

} // namespace Contrast
} // namespace kestrum
