#pragma once

#include "KestrumAgent/Readings/LiveReadings.h"

#include <QObject>
#include <QTimer>
#include <memory>

namespace kestrum {

/// Reads the machine at the chosen interval, only what a shown item needs, and not at all while none is shown.
class Sampler final : public QObject {
    Q_OBJECT
public:
    explicit Sampler(QObject* parent = nullptr);

    std::shared_ptr<const MenuBarReadings> readings() const { return m_readings; }

    /// Takes the interval and the shown items from the shared settings; samples at once when they changed.
    void adoptSettings();

Q_SIGNALS:
    /// There are new readings.
    void sampled();

private:
    void sample();

    std::shared_ptr<LiveReadings> m_readings;
    QList<MonitorSection> m_shown;
    QTimer m_timer;
};

} // namespace kestrum
