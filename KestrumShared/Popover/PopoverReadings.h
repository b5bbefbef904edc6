// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/AppUse.h"
#include "Platform/Machine/CoreTopology.h"
#include "Platform/Machine/History.h"
#include "Platform/Machine/MemoryParts.h"
#include "Platform/Machine/SensorDevices.h"
#include "Platform/Machine/VolumeUse.h"

#include <QHash>
#include <array>
#include <chrono>
#include <optional>

namespace kestrum {

/// A value with a row of its own. Which rows a popover has is decided when it opens. A value that is lost while the popover
/// is open keeps its row, which shows "–".
template <class T> struct RowValue {
    std::optional<T> value;
    bool hasRow = false;

    RowValue() = default;
    RowValue(T present) // NOLINT: a present value converts implicitly
        : value(std::move(present))
        , hasRow(true)
    {
    }
    bool operator==(const RowValue&) const = default;
};

/// Whether the processor's power can be read.
enum class PowerAccess { granted, denied };

/// All that the popover of the CPU shows. Fractions are 0…1.
struct CPUPopoverReadings {
    std::optional<double> usage; ///< absent until it is measured
    QList<HistoryPoint> history;
    QList<double> cores;    ///< slowest tier first
    QList<int> coreNumbers; ///< the kernel's number of each of them; empty if they are numbered as they stand
    QList<CoreTier> tiers;  ///< fastest first; empty when all cores are alike
    QList<AppUse> apps;     ///< in the order of the list; empty until known
    RowValue<double> celsius;
    RowValue<double> watts;
    PowerAccess powerAccess = PowerAccess::granted; ///< `denied` shows a row even without watts
    RowValue<double> hertz;
    RowValue<std::array<double, 3>> load;
    RowValue<std::chrono::seconds> uptime;
};

struct MemoryPopoverReadings {
    MemoryParts parts;
    double pressure = 0;
    bool hasCompressed = false; ///< whether there is a row for it
    bool hasSwap = false;       ///< whether there is a section for it
    /// Shares of the whole memory.
    QList<HistoryPoint> app, system, compressed, cache;
    QList<AppUse> apps;
};

struct DiskPopoverReadings {
    double used = 0; ///< of the start-up volume
    QList<VolumeUse> volumes;
    int moreVolumes = 0;                  ///< those that the list leaves out
    RowValue<double> readRate, writeRate; ///< bytes per second
    QList<HistoryPoint> readHistory, writeHistory;
    RowValue<double> pressure;
    QList<AppUse> apps;
};

struct SensorsPopoverReadings {
    /// The values of the item's readout, for the header.
    std::optional<double> systemWatts, hottest, gpu, fastestFan;
    bool isAnswered = false; ///< whether the devices were ever asked and answered; until then, none is known
    QList<SensorDevice> devices;
    int moreDevices = 0;
    QHash<QString, double> highest; ///< °C and rpm by `SensorDevice::id` and `FanSpeed::id`
    std::chrono::system_clock::time_point highestSince {};
    QList<HistoryPoint> cpuHistory, gpuHistory; ///< °C
    QList<FanSpeed> fans;
    RowValue<double> wholeWatts, cpuWatts, gpuWatts;
    PowerAccess cpuPowerAccess = PowerAccess::granted;
    std::optional<BatteryState> battery;
    bool hasBattery = false;
};

/// The readings of all four popovers. Only those of the open popover are kept up to date.
struct PopoverReadings {
    CPUPopoverReadings cpu;
    MemoryPopoverReadings memory;
    DiskPopoverReadings disk;
    SensorsPopoverReadings sensors;
};

} // namespace kestrum
