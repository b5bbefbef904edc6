// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Readings/SlowReadings.h"
#include "KestrumShared/Items/MenuBarReadings.h"
#include "Platform/Machine/CPULoad.h"
#include "Platform/Machine/CPUPower.h"
#include "Platform/Machine/MemoryPressure.h"
#include "Platform/Machine/MemoryUse.h"

namespace kestrum {

/// The machine's own readings. What cannot be read is absent, or 0 where a reading must have a value. Main thread only.
class LiveReadings final : public MenuBarReadings {
public:
    /// `root` stands before "/proc" and "/sys": trees of files are other machines. Only the real one has sensors.
    explicit LiveReadings(const QString& root = {});

    /// Reads what is wanted; everything else keeps its last value. What a worker reads appears at the next sample, or by
    /// `collect`, for which the worker's `done` says when it is time: it is called on another thread, and may be empty.
    void sample(const WantedReadings& wanted, std::function<void()> done = {});
    void collect() { m_slow.collect(); }
    /// The same for what the items of `sections` show.
    void sample(const QList<MonitorSection>& sections);

    double cpuUsage() const override { return m_cpuLoad.total(); }
    QList<double> coreUsages() const override { return m_cpuLoad.cores(); }
    int performanceCoreCount() const override { return m_cpuLoad.performanceCount(); }
    QList<double> cpuHistory() const override { return m_cpuLoad.history(); }
    std::optional<double> cpuTemperature() const override { return m_slow.sensors().cpu; }
    std::optional<double> cpuWatts() const override { return m_cpuWatts; }
    std::optional<double> gpuTemperature() const override { return m_slow.sensors().gpu; }
    std::optional<double> hottestCelsius() const override { return m_slow.sensors().hottest; }
    std::optional<double> fastestFanRPM() const override { return m_slow.sensors().fan; }
    std::optional<double> systemWatts() const override { return m_slow.systemWatts(); }
    double memoryUsage() const override { return m_memory.used(); }
    /// The share of time lost for want of memory. Kernels that do not measure it: the share of memory in use, which is what
    /// can become pressure.
    double memoryPressure() const override { return m_memoryPressure.value_or(m_memory.used()); }
    quint64 swapUsed() const override { return m_memory.swapUsed(); }
    double storageUsage() const override { return m_slow.storage().used; }
    qint64 availableStorage() const override { return m_slow.storage().available; }

private:
    CPULoad m_cpuLoad;
    CPUPower m_cpuPower;
    MemoryUse m_memory;
    MemoryPressure m_pressureFile;
    SlowReadings m_slow;
    std::optional<double> m_cpuWatts;
    std::optional<double> m_memoryPressure;
};

} // namespace kestrum
