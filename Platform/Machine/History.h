// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <chrono>
#include <optional>

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

/// The values of the last five minutes, in buckets of two seconds, in memory only. A bucket holds the mean of its values.
class History {
public:
    static constexpr int bucketCount = 150;
    static constexpr std::chrono::seconds bucketTime { 2 };
    static constexpr std::chrono::seconds span = bucketCount * bucketTime;

    /// Adds a value that was measured at `now`, by the clock of `timeSinceBoot`. Values are measured every `interval`: a
    /// value more than three intervals after the last one follows a gap. A time before the last one empties the history.
    /// Values that are not finite are ignored.
    void add(double value, std::chrono::nanoseconds interval, std::chrono::nanoseconds now = timeSinceBoot());

    /// The values of the last five minutes, oldest first.
    QList<HistoryPoint> points(std::chrono::nanoseconds now = timeSinceBoot()) const;

    void clear() { m_buckets.clear(); }

private:
    struct Bucket {
        qint64 number; ///< time since boot, in bucket times
        float sum;
        quint16 count;
        bool followsGap;
    };
    QList<Bucket> m_buckets;
    std::chrono::nanoseconds m_last {};
};

} // namespace kestrum
