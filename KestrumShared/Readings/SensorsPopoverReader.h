// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PopoverReadings.h"
#include "KestrumShared/Readings/Background.h"
#include "KestrumShared/Readings/PopoverSample.h"
#include "KestrumShared/Readings/RowDecision.h"
#include "Platform/Machine/Battery.h"
#include "Platform/Machine/HighestValues.h"
#include "Platform/Machine/SensorList.h"

#include <QString>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace kestrum {

/// Reads what the open popover of the sensors shows. One worker reads all devices and the batteries.
class SensorsPopoverReader {
public:
    /// The popover has a row for each of these devices at most.
    static constexpr qsizetype mostDevices = 8;

    /// Returns the devices. The argument is whether the popover has been opened since the last call.
    using ReadList = std::function<std::optional<SensorList::Values>(bool isNewOpening)>;

    /// Reads the devices of this machine if `root` is empty, else none, because libsensors knows only this machine.
    static ReadList listOf(const QString& root);

    /// `readList` may be empty. Values become absent when the worker has not answered for `longestAnswer`.
    SensorsPopoverReader(const QString& root, ReadList readList,
        std::chrono::milliseconds longestAnswer = SlowReadings::longestAnswer);

    /// The popover may be opened soon. Has the devices read if none is known yet, so that it opens with all its rows. The
    /// worker calls `ring` when `collect` can take them over.
    void approach(const std::function<void()>& ring);
    void collect(SensorsPopoverReadings& readings);

    void update(SensorsPopoverReadings& readings, const PopoverSample& sample);
    /// Closes the files that only the open popover needs.
    void close() { m_opening.reset(); }

    /// Takes note of the processor's temperature, if an item shows it.
    void addItem(const LiveReadings& live);
    void resetHighest(SensorsPopoverReadings& readings);

private:
    using Clock = std::chrono::steady_clock;
    struct Devices {
        std::optional<SensorList::Values> list;
        std::optional<BatteryState> battery;
    };
    struct Opening {
        explicit Opening(std::shared_ptr<Battery> ofMachine)
            : battery(std::move(ofMachine))
        {
        }
        std::shared_ptr<Battery> battery;
        bool isListRead = false;            ///< whether the worker was told of the opening
        std::optional<double> hottest, gpu; ///< of all devices, also of those without a row
        bool wasCPUOld = false;             ///< whether one was passed over at the last reading
        bool wasGPUOld = false;
    };
    void forgetDevices(SensorsPopoverReadings& readings);
    bool begin(bool isNewOpening, std::shared_ptr<Battery> battery, std::function<void()> ring);
    void showDevices(SensorsPopoverReadings& readings, const SensorList::Values& list);
    void adoptRows(SensorsPopoverReadings& readings, const Devices& devices);
    void adopt(SensorsPopoverReadings& readings, const Devices& devices, const PopoverSample& sample);
    void addHighest(const SensorsPopoverReadings& readings);
    void showHighest(SensorsPopoverReadings& readings) const;

    QString m_root;
    ReadList m_readList; ///< may be empty
    std::chrono::milliseconds m_longestAnswer;
    std::optional<Opening> m_opening;
    bool m_knowsRows = false;     ///< whether the devices were ever read
    bool m_knowsGPUPower = false; ///< whether it was answered since the last opening
    bool m_knowsWholePower = false;
    bool m_knowsBattery = false;
    RowExpectation m_expectedWatts; ///< of the CPU
    Background<Devices> m_background;
    Clock::time_point m_begin; ///< of what the worker is doing
    HighestValues m_highest;
};

} // namespace kestrum
