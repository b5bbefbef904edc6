// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Raster/LabelColour.h"

namespace kestrum {

/// The colours in which items are drawn: for a light or a dark background, with texts and symbols in the label colour of the scheme,
/// or in the colour that texts have at the place where the items stand.
struct ItemInk {
    ColourScheme scheme;
    QColor label;

    ItemInk(ColourScheme itemScheme)
        : ItemInk(itemScheme, labelColour(itemScheme))
    {
    }
    ItemInk(ColourScheme itemScheme, const QColor& itemLabel)
        : scheme(itemScheme)
        , label(itemLabel)
    {
    }
};

} // namespace kestrum
