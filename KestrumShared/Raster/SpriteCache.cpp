// SPDX-License-Identifier: MIT
#include "KestrumShared/Raster/SpriteCache.h"

#include <utility>

namespace kestrum {
namespace {

// Enough for the bars of many cores in two colours and for the frames of all items, but less than a tenth of the memory that
// the agent may use.
constexpr qsizetype limitInBytes = qsizetype(2) << 20;
// The memory that an image takes in addition to its pixels.
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
    // Returns a copy, because the cache may reject a large image, or delete it when the next image is inserted.
    m_latest = std::move(image);
    m_images.insert(key, new QImage(m_latest), m_latest.sizeInBytes() + overheadInBytes);
    return m_latest;
}

} // namespace kestrum
