// SPDX-License-Identifier: MIT
#include "KestrumShared/Items/ItemSprites.h"

#include "KestrumShared/Raster/LabelColour.h"
#include "Platform/Desktop/SymbolImage.h"

#include <QHash>
#include <tuple>

namespace kestrum {
namespace {

struct SymbolKey {
    QString name;
    double pointSize;
    ColourScheme scheme;
    double scale;

    bool operator==(const SymbolKey&) const = default;
    friend std::size_t qHash(const SymbolKey& key, std::size_t seed = 0)
    {
        return qHashMulti(seed, key.name, key.pointSize, int(key.scheme), key.scale);
    }
};

} // namespace

QImage ItemSprites::symbol(const QString& name, double pointSize, ColourScheme scheme, double scale)
{
    static QHash<SymbolKey, QImage> renderedSymbols;
    const SymbolKey key { name, pointSize, scheme, scale };
    const auto cached = renderedSymbols.constFind(key);
    if (cached != renderedSymbols.constEnd())
        return *cached;
    return *renderedSymbols.insert(key, SymbolImage::image(name, pointSize, labelColour(scheme), scale));
}

} // namespace kestrum
