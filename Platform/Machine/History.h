// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <chrono>
#include <vector>

namespace kestrum {

/// One value of a `History`, as a graph draws it.
struct HistoryPoint {
    double age = 0; ///< seconds before now
    double value = 0;
    bool followsGap = false; ///< whether no line leads here from the point before
    bool operator==(const HistoryPoint&) const = default;
};

/// The time since boot, including the time in which the machine was suspended. Only this clock shows a suspension as a gap.
std::chrono::nanoseconds timeSinceBoot();

/// The values of the last five minutes, in buckets of two seconds, in memory only. A bucket holds the mean of its values and
/// the time of the last one. A history without values needs no memory, another one less than 4 KB.
class History {
public:
    static constexpr int bucketCount = 150;
    static constexpr std::chrono::seconds bucketTime { 2 };
    static constexpr std::chrono::seconds span = bucketCount * bucketTime;

    /// Adds a value that was measured at `now`, by the clock of `timeSinceBoot`. Values are measured every `interval`: a
    /// value more than three intervals after the last one follows a gap, unless less than a bucket's time has passed. A time
    /// before the last one empties the history. Values that are not finite are ignored.
    void add(double value, std::chrono::nanoseconds interval, std::chrono::nanoseconds now = timeSinceBoot());

    /// The values of the last five minutes, oldest first. The age of a new value is 0.
    QList<HistoryPoint> points(std::chrono::nanoseconds now = timeSinceBoot()) const;

    void clear() { *this = {}; }

private:
    struct Bucket {
        std::chrono::nanoseconds last {};
        double sum = 0;
        quint32 count = 0; ///< 0 in an empty bucket
        bool followsGap = false;
    };
    /// Five minutes end within a bucket and begin within another.
    static constexpr int places = bucketCount + 1;
    static qint64 number(std::chrono::nanoseconds time) { return time / bucketTime; }

    /// The place of a bucket is its number modulo `places`, so new buckets overwrite those that are too old.
    std::vector<Bucket> m_buckets;
    std::chrono::nanoseconds m_last {};
    std::chrono::nanoseconds m_interval {};
};

} // namespace kestrum
