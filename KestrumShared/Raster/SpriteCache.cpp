// SPDX-License-Identifier: MIT
#include "KestrumShared/Raster/SpriteCache.h"

#include <utility>

namespace kestrum {
namespace {

// Enough for all bars of a large machine in two colours and for the frames of all items; less than a tenth of
// what the agent may take.
constexpr qsizetype limitInBytes = qsizetype(2) << 20;
// What a small image costs beside its pixels.
constexpr qsizetype overheadInBytes = 256;

} // namespace

SpriteCache::SpriteCache()
    : m_images(limitInBytes)
{
}

SpriteCache& SpriteCache::shared()
{
    static SpriteCache cache;
    return cache;
}

const QImage& SpriteCache::keep(const SpriteKey& key, QImage image)
{
    // The cache may refuse it as too large, or drop it with the next one.
    m_latest = std::move(image);
    m_images.insert(key, new QImage(m_latest), m_latest.sizeInBytes() + overheadInBytes);
    return m_latest;
}

} // namespace kestrum
