// SPDX-License-Identifier: MIT
#pragma once

#include <QCache>
#include <QHashFunctions>
#include <QImage>
#include <array>

namespace kestrum {

/// What a kept picture shows: a kind, and the numbers that decide about its pixels.
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

/// Pictures of drawn parts that come again and again. Bounded: what was not used for longest goes. Main thread
/// only.
class SpriteCache {
public:
    static SpriteCache& shared();

    /// The picture kept under `key`, first made by `make()` when there is none. Valid until the next call.
    template <class Make> const QImage& sprite(const SpriteKey& key, Make make)
    {
        if (const QImage* kept = m_images.object(key))
            return *kept;
        return keep(key, make());
    }

    qsizetype bytes() const { return m_images.totalCost(); }
    qsizetype count() const { return m_images.size(); }

private:
    SpriteCache();
    const QImage& keep(const SpriteKey& key, QImage image);

    QCache<SpriteKey, QImage> m_images;
    QImage m_latest;
};

} // namespace kestrum
