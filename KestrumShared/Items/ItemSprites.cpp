// SPDX-License-Identifier: MIT
#include "KestrumShared/Items/ItemSprites.h"

#include "Platform/Desktop/SymbolImage.h"

#include <map>
#include <tuple>

namespace kestrum {

namespace {

constexpr size_t mostSymbols = 128; ///< many more than a few panels need

} // namespace

QImage ItemSprites::symbol(const QString& name, double pointSize, const QColor& colour, double scale)
{
    static std::map<std::tuple<QString, double, QRgb, double>, QImage> renderedSymbols;
    // Panels may ask for any colour at any scale.
    if (renderedSymbols.size() >= mostSymbols)
        renderedSymbols.clear();
    const auto [entry, isNew] = renderedSymbols.try_emplace({ name, pointSize, colour.rgba(), scale });
    if (isNew)
        entry->second = SymbolImage::image(name, pointSize, colour, scale);
    return entry->second;
}

} // namespace kestrum
