// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/MenuBarReadings.h"
#include "KestrumShared/Readings/SlowReadings.h"
#include "Platform/Machine/CPULoad.h"
#include "Platform/Machine/CPUPower.h"
#include "Platform/Machine/MemoryUse.h"
#include "Platform/Machine/Pressure.h"

namespace kestrum {

/// The readings of this machine. A value that cannot be read is absent, or 0 if its type is not optional. Main thread only.
class LiveReadings final : public MenuBarReadings {
public:
    /// `root` is put before "/proc" and "/sys", so that tests can use a directory tree instead of this machine. Sensors are
    /// read only if `root` is empty.
    explicit LiveReadings(const QString& root = {});
    /// Tests pass sensors of their own.
    LiveReadings(const QString& root, SlowReadings::ReadSensors readSensors);

    /// Reads the wanted values; all others stay as they are. Values that a worker reads appear at the next `sample` or
    /// `collect`. The worker calls `done`, which may be empty, on its own thread as soon as these values are ready.
    void sample(const WantedReadings& wanted, std::function<void()> done = {});
    void collect() { m_slow.collect(); }

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
    /// The share of time in which processes waited for memory; the share of memory in use if the kernel does not measure the
    /// waiting time.
    double memoryPressure() const override { return m_memoryPressure.value_or(m_memory.used()); }
    quint64 swapUsed() const override { return m_memory.parts().swapUsed; }
    double storageUsage() const override { return m_slow.storage().used; }
    qint64 availableStorage() const override { return m_slow.storage().available; }

    /// Whether the processor's load was measured since it was first wanted.
    bool hasCPULoad() const { return !m_cpuLoad.history().isEmpty(); }
    /// See `CPULoad::numbers`.
    const QList<int>& coreNumbers() const { return m_cpuLoad.numbers(); }
    const MemoryParts& memoryParts() const { return m_memory.parts(); }
    /// Whether the processor has counters of its power, which somebody may be allowed to read.
    bool hasCPUPower() const { return m_cpuPower.hasPackages(); }
    bool isCPUPowerDenied() const { return m_cpuPower.isDenied(); }
    /// See `SlowReadings::answered` and `SlowReadings::answers`.
    const WantedReadings& answered() const { return m_slow.answered(); }
    int answers() const { return m_slow.answers(); }

private:
    CPULoad m_cpuLoad;
    CPUPower m_cpuPower;
    MemoryUse m_memory;
    Pressure m_pressureFile;
    SlowReadings m_slow;
    std::optional<double> m_cpuWatts;
    std::optional<double> m_memoryPressure;
};

} // namespace kestrum
