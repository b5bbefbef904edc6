// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Readings/LiveReadings.h"
#include "Platform/Machine/DiskActivity.h"
#include "Platform/Machine/History.h"

#include <chrono>

namespace kestrum {

/// The histories of what the items read anyway, so that a popover has its graphs as soon as it opens. Only the activity of
/// the disks is read for a history alone, while the item of the start-up volume is visible.
class ItemHistories {
public:
    explicit ItemHistories(const QString& root = {});

    /// Adds the values of the last sample of `readings`, in which `wanted` was read. While nobody sees the rates of the disks,
    /// their counters are read only once for each place of the history. Returns what `addAnswer` does.
    bool add(const LiveReadings& readings, const WantedReadings& wanted, bool areDisksSeen,
        std::chrono::nanoseconds interval, std::chrono::nanoseconds now = timeSinceBoot());
    /// Adds the values of the worker. Returns true if it has answered since the last call.
    bool addAnswer(const LiveReadings& readings, std::chrono::nanoseconds interval,
        std::chrono::nanoseconds now = timeSinceBoot());
    /// Call this before a pause in sampling: a rate since the last sample would be the mean of the whole pause.
    void pause();

    /// The rates between the last two readings of the counters; nothing after the first one.
    const std::optional<DiskActivity::Rates>& diskRates() const { return m_diskRates; }
    /// Whether the disks have been looked at, with or without success, since they began to be wanted.
    bool areDiskRatesBegun() const { return m_looksAtDisks; }

    History cpu;                            ///< 0…1
    History app, system, compressed, cache; ///< shares of the whole memory
    History diskRead, diskWritten;          ///< bytes per second
    History cpuTemperature, gpuTemperature; ///< °C

private:
    void addRates(std::chrono::nanoseconds interval, std::chrono::nanoseconds now);

    bool m_looksAtDisks = false;
    DiskActivity m_disk;
    std::optional<std::chrono::nanoseconds> m_diskTime; ///< when the counters were read
    std::optional<DiskActivity::Rates> m_diskRates;
    int m_answers = 0;
};

} // namespace kestrum
