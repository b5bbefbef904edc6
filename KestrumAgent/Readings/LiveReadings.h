#pragma once

#include "KestrumShared/Drawing/MenuBarReadings.h"
#include "KestrumShared/Vocabulary/MonitorSection.h"

#include <QString>
#include <memory>

namespace kestrum {

/// The machine's own readings. What cannot be read is absent, or 0 where a reading must have a value. Main thread only.
class LiveReadings final : public MenuBarReadings {
public:
    /// `root` stands before "/proc" and "/sys": trees of files are other machines.
    explicit LiveReadings(const QString& root = QString());
    ~LiveReadings() override;

    /// Reads what the items of `sections` show; everything else keeps its last value.
    void sample(const QList<MonitorSection>& sections);

    double cpuUsage() const override;
    QList<double> coreUsages() const override;
    int performanceCoreCount() const override;
    QList<double> cpuHistory() const override;
    std::optional<double> cpuTemperature() const override;
    std::optional<double> cpuWatts() const override;
    std::optional<double> gpuTemperature() const override;
    std::optional<double> hottestCelsius() const override;
    std::optional<double> fastestFanRPM() const override;
    std::optional<double> systemWatts() const override;
    double memoryUsage() const override;
    double memoryPressure() const override;
    quint64 swapUsed() const override;
    double storageUsage() const override;
    qint64 availableStorage() const override;

private:
    struct Readers;
    std::unique_ptr<Readers> m_readers;
};

} // namespace kestrum
