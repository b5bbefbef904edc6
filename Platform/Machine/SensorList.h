// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/SensorChips.h"
#include "Platform/Machine/SlowDevice.h"

#include <atomic>
#include <functional>
#include <limits>
#include <map>

namespace kestrum {

/// All devices that measure temperatures, and all fans, for a list that somebody looks at. Devices that answer slowly are read
/// rarely, and suspended ones are not woken. The names come from libsensors, whose configuration people can edit.
class SensorList {
public:
    using Clock = SlowDevice::Clock;

    struct Values {
        QList<SensorDevice> devices; ///< CPU, GPU, disks, memory, mainboard, then the rest
        QList<FanSpeed> fans;
        std::optional<double> gpuWatts; ///< of all graphics cards that are awake
    };

    /// Only tests pass a clock.
    explicit SensorList(std::function<Clock::time_point()> now = Clock::now)
        : m_now(std::move(now))
    {
    }

    /// Call this when the list is opened, on any thread: the next `read` begins anew.
    void beginOpening() { m_isNewOpening = true; }

    /// What there is to see. Inputs, devices and fans appear with their first value and stay, without a value if it is lost,
    /// until the next opening. Call this on a worker thread. Nothing while another thread is reading for over a second.
    std::optional<Values> read();
    /// The same of these devices, in any order.
    Values read(const std::vector<SensorChip>& chips);

private:
    /// What is known of a device. Its inputs and fans are those of the `SensorChip`, in the same order.
    struct Chip {
        QString model;
        QList<SensorInput> inputs;
        QList<FanSpeed> fans;
        std::vector<bool> seenInputs; ///< which ones had a value since the list was opened
        std::vector<bool> seenFans;
        std::optional<double> celsius;
        std::optional<double> watts;
        bool isPresent = false;
        bool isAsleep = false;
        bool isSeen = false;                                 ///< whether it was asleep or had a temperature
        bool isOld = false;                                  ///< passed over this time
        SlowDevice pace { std::numeric_limits<int>::max() }; ///< a very slow one is read once an opening
    };
    static Chip adopted(const SensorChip& chip);
    static void forget(Chip& known);
    void read(const SensorChip& chip, Chip& known) const;
    QList<SensorDevice> devices() const;
    QList<FanSpeed> fans() const;

    std::function<Clock::time_point()> m_now;
    std::map<SensorChip::Place, Chip> m_chips; ///< all that were present since the list was opened
    std::atomic<bool> m_isNewOpening = false;
};

} // namespace kestrum
