// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/History.h"
#include "Platform/Machine/PowerSupplies.h"
#include "Platform/Machine/SensorDevices.h"

#include <deque>

namespace kestrum {

/// The charge of the machine's batteries together, and how long it will last or take. Firmware may answer slowly, so call
/// `read` on a worker thread.
class Battery {
public:
    explicit Battery(const QString& root = {});

    /// The state of all batteries as if they were one; nothing if there is none. The time comes from the mean power of the
    /// reads of the last minute, so it is absent until reads span ten seconds, and also if it is longer than 99 hours or
    /// shorter than a minute. Only tests pass `now`.
    std::optional<BatteryState> read(std::chrono::nanoseconds now = timeSinceBoot());
    /// The same of these supplies.
    std::optional<BatteryState> read(std::vector<PowerSupply>& supplies, std::chrono::nanoseconds now);

private:
    struct Sample {
        std::chrono::nanoseconds time;
        double watts;
    };
    std::optional<double> meanWatts(std::optional<double> watts, std::chrono::nanoseconds now);

    PowerSupplies m_supplies;
    BatteryState::Status m_status = BatteryState::Status::notCharging;
    std::deque<Sample> m_samples; ///< since `m_status` began, not older than a minute
};

} // namespace kestrum
