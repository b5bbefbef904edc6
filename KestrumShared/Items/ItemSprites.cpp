// SPDX-License-Identifier: MIT
#include "KestrumShared/Items/ItemSprites.h"

#include "KestrumShared/Raster/LabelColour.h"
#include "Platform/Desktop/SymbolImage.h"

#include <map>
#include <tuple>

namespace kestrum {

QImage ItemSprites::symbol(const QString& name, double pointSize, ColourScheme scheme, double scale)
{
    static std::map<std::tuple<QString, double, ColourScheme, double>, QImage> renderedSymbols;
    const auto [entry, isNew] = renderedSymbols.try_emplace({ name, pointSize, scheme, scale });
    if (isNew)
        entry->second = SymbolImage::image(name, pointSize, labelColour(scheme), scale);
    return entry->second;
}

} // namespace kestrum
