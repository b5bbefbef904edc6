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
        std::shared_ptr<Battery> battery;
        bool isListRead = false; ///< whether the worker was told of the opening
        int powerAnswers = 0;
        std::optional<double> hottest, gpu; ///< of all devices, also of those without a row
        bool knowsDevices = false;
        bool knowsBattery = false;
        bool knowsWholePower = false;
    };
    void forgetDevices(SensorsPopoverReadings& readings);
    void begin(const PopoverSample& sample);
    void adopt(SensorsPopoverReadings& readings, const Devices& devices, const PopoverSample& sample);
    void addHighest(const SensorsPopoverReadings& readings);
    void showHighest(SensorsPopoverReadings& readings) const;

    QString m_root;
    ReadList m_readList; ///< may be empty
    std::chrono::milliseconds m_longestAnswer;
    std::optional<Opening> m_opening;
    Background<Devices> m_background;
    Clock::time_point m_begin; ///< of what the worker is doing
    HighestValues m_highest;
};

} // namespace kestrum
