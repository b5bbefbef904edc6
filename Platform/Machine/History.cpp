// SPDX-License-Identifier: MIT
#include "Platform/Machine/History.h"

#include <algorithm>
#include <cmath>
#include <time.h>
#include <utility>

namespace kestrum {

std::chrono::nanoseconds timeSinceBoot()
{
    timespec now {};
    ::clock_gettime(CLOCK_BOOTTIME, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

void History::add(double value, std::chrono::nanoseconds interval, std::chrono::nanoseconds now)
{
    if (!std::isfinite(value) || now.count() < 0)
        return;
    if (now < m_last)
        clear();
    const bool isFirst = m_buckets.empty();
    if (isFirst)
        m_buckets.resize(places);
    // After a change of the interval, the next value still comes by the old one.
    const std::chrono::nanoseconds expected = std::max(interval, std::exchange(m_interval, interval));
    const std::chrono::nanoseconds passed = now - std::exchange(m_last, now);
    Bucket& bucket = m_buckets[std::size_t(number(now) % places)];
    if (bucket.count == 0 || number(bucket.last) != number(now))
        bucket = { .followsGap = !isFirst && passed > bucketTime && passed / 3 > expected };
    bucket.last = now;
    bucket.sum += value;
    ++bucket.count;
}

QList<HistoryPoint> History::points(std::chrono::nanoseconds now) const
{
    QList<HistoryPoint> result;
    if (m_buckets.empty())
        return result;
    result.reserve(bucketCount + 1);
    for (qint64 wanted = std::max<qint64>(number(now) - bucketCount, 0); wanted <= number(now); ++wanted) {
        const Bucket& bucket = m_buckets[std::size_t(wanted % places)];
        const std::chrono::nanoseconds age = now - bucket.last;
        if (bucket.count > 0 && number(bucket.last) == wanted && age <= span)
            result.append({ std::chrono::duration<double>(std::max(age, {})).count(),
                bucket.sum / bucket.count, bucket.followsGap });
    }
    return result;
}

} // namespace kestrum
