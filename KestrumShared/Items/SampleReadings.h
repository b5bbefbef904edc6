// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/MenuBarReadings.h"
#include "Platform/Machine/CoreTopology.h"

namespace kestrum {

/// Fixed, plausible readings for previews.
class SampleReadings final : public MenuBarReadings {
public:
    /// Makes readings for this machine's number of cores.
    SampleReadings();
    /// Makes readings for a machine of `totalCores` cores in `tiers`, fastest first.
    SampleReadings(const QList<CoreTier>& tiers, int totalCores);

    double cpuUsage() const override { return 0.42; }
    QList<double> coreUsages() const override { return m_coreUsages; }
    int performanceCoreCount() const override { return m_performanceCoreCount; }
    QList<double> cpuHistory() const override { return m_cpuHistory; }
    std::optional<double> cpuTemperature() const override { return 48.0; }
    std::optional<double> cpuWatts() const override { return 12.0; }
    std::optional<double> gpuTemperature() const override { return 41.0; }
    std::optional<double> hottestCelsius() const override { return 52.0; }
    std::optional<double> fastestFanRPM() const override { return 1240.0; }
    std::optional<double> systemWatts() const override { return 24.0; }
    double memoryUsage() const override { return 0.64; }
    double memoryPressure() const override { return 0.31; }
    quint64 swapUsed() const override { return 1288490189; } // 1.2 GiB
    double storageUsage() const override { return 0.58; }
    qint64 availableStorage() const override { return 442381631488; } // 412 GiB

private:
    QList<double> m_coreUsages;
    int m_performanceCoreCount;
    QList<double> m_cpuHistory;
};

} // namespace kestrum
