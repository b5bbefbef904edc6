// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Readings/ItemHistories.h"
#include "KestrumShared/Readings/LiveReadings.h"

#include <chrono>
#include <functional>

namespace kestrum {

/// What the reader of an open popover is given.
struct PopoverSample {
    enum class Occasion {
        opening, ///< the popover is about to be shown
        tick,    ///< the items' readings have a new sample
        answer,  ///< a worker may have answered
    };
    Occasion occasion;
    const LiveReadings& live;
    ItemHistories& histories;
    std::chrono::nanoseconds interval; ///< of the ticks
    std::chrono::nanoseconds now;      ///< by the clock of `timeSinceBoot`
    /// Workers call this function when they have answered. Empty where the next tick comes soon enough.
    std::function<void()> ring;
};

} // namespace kestrum
