// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Desktop/SystemAppearance.h"

#include <QColor>

namespace kestrum {

/// The colour of labels, symbols and texts on backgrounds in the desktop's colour scheme.
inline QColor labelColour(ColourScheme scheme)
{
    return scheme == ColourScheme::dark ? QColor(0xF2, 0xF2, 0xF4) : QColor(0x1D, 0x1D, 0x1F);
}

} // namespace kestrum
