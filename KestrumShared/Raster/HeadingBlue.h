// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Desktop/SystemAppearance.h"

#include <QColor>

namespace kestrum {

/// The blue of symbols and titles in headings.
inline QColor headingBlue(ColourScheme scheme)
{
    return scheme == ColourScheme::dark ? QColor::fromRgbF(0.39F, 0.70F, 1.0F)
                                        : QColor::fromRgbF(0.05F, 0.38F, 0.72F);
}

} // namespace kestrum
