// SPDX-License-Identifier: MIT
#include "Platform/Machine/History.h"

#include <time.h>

namespace kestrum {

std::chrono::nanoseconds timeSinceBoot()
{
    timespec now {};
    ::clock_gettime(CLOCK_BOOTTIME, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

void History::add(double, std::chrono::nanoseconds, std::chrono::nanoseconds) { }

QList<HistoryPoint> History::points(std::chrono::nanoseconds) const
{
    return {};
}

} // namespace kestrum
