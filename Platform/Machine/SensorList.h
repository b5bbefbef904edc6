// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/SensorChips.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <map>

namespace kestrum {

/// All devices that measure temperatures, and all fans, for a list that somebody looks at. Devices that answer slowly are read
/// rarely, and suspended ones are not woken. The names come from libsensors, whose configuration people can edit.
class SensorList {
public:
    using Clock = std::chrono::steady_clock;
    /// A device of which two reads in a row took longer is read at every tenth call only. One read can take long for other
    /// reasons.
    static constexpr std::chrono::milliseconds slowRead { 20 };
    static constexpr int slowInterval = 10;
    /// A device of which two reads in a row took longer is not read any more in this opening.
    static constexpr std::chrono::milliseconds verySlowRead { 200 };

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
        bool isSeen = false;         ///< whether it was asleep or had a temperature
        int passOver = 0;            ///< reads until the next attempt; negative: none in this opening
        bool isOld = false;          ///< passed over this time
        Clock::duration lastTime {}; ///< how long the last read took
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
