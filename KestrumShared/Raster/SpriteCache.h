// SPDX-License-Identifier: MIT
#pragma once

#include <QCache>
#include <QHashFunctions>
#include <QImage>
#include <array>

namespace kestrum {

/// The key of a cached picture: a kind, a colour, and all numbers on which the picture's pixels depend.
struct SpriteKey {
    enum class Kind : quint8 { column, columnTop, frame, letters };
    Kind kind;
    QRgb colour;
    std::array<qint32, 7> numbers;

    bool operator==(const SpriteKey&) const = default;
    friend std::size_t qHash(const SpriteKey& key, std::size_t seed = 0)
    {
        seed = qHashBits(key.numbers.data(), sizeof key.numbers, seed);
        return qHashMulti(seed, quint8(key.kind), key.colour);
    }
};

/// A cache of pictures of parts that are drawn repeatedly. Its size is limited: the least recently used pictures are
/// deleted. Main thread only.
class SpriteCache {
public:
    static SpriteCache& shared();

    /// The picture cached under `key`; `make()` creates the picture if none is cached. Valid until the next call.
    template <class Make> const QImage& sprite(const SpriteKey& key, Make make)
    {
        if (const QImage* kept = m_images.object(key))
            return *kept;
        return keep(key, make());
    }

private:
    SpriteCache();
    const QImage& keep(const SpriteKey& key, QImage image);

    QCache<SpriteKey, QImage> m_images;
    QImage m_latest;
};

} // namespace kestrum
