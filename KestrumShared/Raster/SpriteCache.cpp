// SPDX-License-Identifier: MIT
#include "KestrumShared/Raster/SpriteCache.h"

#include <utility>

namespace kestrum {
namespace {

// Enough for all bars of a machine with many cores in two colours and for the frames of all items. It is less than a tenth
// of the memory that the agent may use.
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
    // A copy is returned, because the cache may reject an image that is too large, or delete it when the next one is
    // inserted.
    m_latest = std::move(image);
    m_images.insert(key, new QImage(m_latest), m_latest.sizeInBytes() + overheadInBytes);
    return m_latest;
}

} // namespace kestrum
