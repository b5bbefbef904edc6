// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>
#include <optional>

namespace kestrum {

/// One temperature input of a device.
struct SensorInput {
    QString label;
    std::optional<double> celsius; ///< absent when it cannot be read
    bool operator==(const SensorInput&) const = default;
};

/// A device that measures temperatures.
struct SensorDevice {
    enum class Kind { cpu, gpu, disk, memory, mainboard, chipset, wiFi, network, battery, other };

    QString id; ///< the same after each start of the machine
    Kind kind = Kind::other;
    int number = 0;                ///< from 1 on where two devices would have the same name, else 0
    QString model;                 ///< the device's own name; empty where `kind` names the device
    std::optional<double> celsius; ///< the value that stands for the device
    bool isAsleep = false;         ///< suspended; reading would wake it
    QList<SensorInput> inputs;
    bool isOld = false; ///< not read this time, because it answers slowly
    bool operator==(const SensorDevice&) const = default;
};

struct FanSpeed {
    QString id;
    QString label;  ///< empty if the fan has no name
    int number = 0; ///< from 1 on, for a fan without a name
    std::optional<double> rpm;
    bool operator==(const FanSpeed&) const = default;
};

struct BatteryState {
    enum class Status { discharging, charging, full, notCharging };
    double charge = 0; ///< 0…1
    Status status = Status::notCharging;
    std::optional<int> minutes; ///< until empty or full; absent while it is not known
    bool operator==(const BatteryState&) const = default;
};

} // namespace kestrum
