// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QtGlobal>
#include <optional>

namespace kestrum {

/// The readings that menu-bar items show. Fractions are 0…1. A value is absent if the machine has no such sensor, or before
/// the first reading. Absent values are never shown as zero. Items hold weak pointers to their readings.
class MenuBarReadings {
public:
    virtual ~MenuBarReadings() = default;

    virtual double cpuUsage() const = 0;
    /// The load of each logical core, efficiency cores first.
    virtual QList<double> coreUsages() const = 0;
    /// The number of performance cores, which are the last entries of `coreUsages`.
    virtual int performanceCoreCount() const = 0;
    /// Recent total loads, oldest first.
    virtual QList<double> cpuHistory() const = 0;
    virtual std::optional<double> cpuTemperature() const = 0; ///< °C
    virtual std::optional<double> cpuWatts() const = 0;
    virtual std::optional<double> gpuTemperature() const = 0; ///< °C
    virtual std::optional<double> hottestCelsius() const = 0;
    virtual std::optional<double> fastestFanRPM() const = 0;
    virtual std::optional<double> systemWatts() const = 0;
    virtual double memoryUsage() const = 0;
    virtual double memoryPressure() const = 0;
    virtual quint64 swapUsed() const = 0; ///< bytes
    virtual double storageUsage() const = 0;
    virtual qint64 availableStorage() const = 0; ///< bytes

protected:
    MenuBarReadings() = default;
    MenuBarReadings(const MenuBarReadings&) = default;
    MenuBarReadings& operator=(const MenuBarReadings&) = default;
};

} // namespace kestrum
