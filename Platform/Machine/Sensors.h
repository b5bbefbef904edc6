// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/SensorChips.h"
#include "Platform/Machine/SlowDevice.h"

#include <functional>
#include <map>
#include <optional>
#include <vector>

namespace kestrum {

/// Temperatures and fan speeds from libsensors, with the labels and corrections of the library's configuration. The library
/// reads "/sys" only, so the tests run under umockdev.
class Sensors {
public:
    using Clock = SlowDevice::Clock;
    /// A very slow device is read at every so many calls of `read`. See `SlowDevice`.
    static constexpr int verySlowInterval = 100;

    struct Wanted {
        bool cpu = false;
        bool gpu = false;
        bool hottest = false;
        bool fan = false;
        bool any() const { return cpu || gpu || hottest || fan; }
        bool operator==(const Wanted&) const = default;
    };
    struct Values {
        std::optional<double> cpu;     ///< °C
        std::optional<double> gpu;     ///< °C, of the hottest card that is awake
        std::optional<double> hottest; ///< °C
        std::optional<double> fan;     ///< revolutions per minute of the fastest fan; 0 when no fan turns
    };

    /// Only tests pass a clock.
    explicit Sensors(std::function<Clock::time_point()> now = Clock::now)
        : m_now(std::move(now))
    {
    }

    /// Reads only the wanted values. A value that cannot be read is absent. Suspended devices are not woken, and slow ones have
    /// their earlier values most of the time. A reading can take milliseconds, so call this on a worker thread, on one at a
    /// time; while another thread is reading, it waits up to a second, and then returns nothing.
    std::optional<Values> read(const Wanted& wanted);

private:
    using Chips = std::vector<SensorChip>;
    using Inputs = std::vector<SensorChip::Input> SensorChip::*;
    using Quantity = std::optional<double> (SensorChip::*)(const SensorChip::Input&) const;
    using Rank = SensorChip::Rank SensorChip::Input::*;

    /// What is known of a device.
    struct Known {
        SlowDevice pace { verySlowInterval };
        bool isOld = false;                          ///< passed over this time
        Clock::duration time {};                     ///< of this time's reads
        std::map<int, std::optional<double>> values; ///< the last ones, by the library's numbers
    };

    std::optional<double> value(const SensorChip& chip, const SensorChip::Input& input, Quantity quantity);
    std::optional<double> hottest(const SensorChip& chip, Rank rank, int wanted);
    std::optional<double> best(const Chips& chips, Rank rank);

    std::function<Clock::time_point()> m_now;
    Wanted m_wanted;
    std::map<SensorChip::Place, Known> m_known;
};

} // namespace kestrum
