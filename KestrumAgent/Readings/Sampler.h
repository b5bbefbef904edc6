// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Readings/LiveReadings.h"
#include "Platform/Machine/Bell.h"

#include <QObject>
#include <QTimer>
#include <chrono>
#include <memory>

namespace kestrum {

/// Samples the readings at the chosen interval, and only those that a visible item needs. While no item is visible, it uses
/// neither a timer nor a worker.
class Sampler final : public QObject {
    Q_OBJECT
public:
    /// The lower limit of the interval, whatever the setting says.
    static constexpr std::chrono::milliseconds shortestInterval { 100 };
    /// The time from the first sample to the second. It is short because a load needs two samples, and a worker's results
    /// are collected at the next sample.
    static constexpr std::chrono::milliseconds secondSample { 200 };
    /// From this interval on, the main thread wakes once more to show a worker's results as soon as they are ready. At
    /// shorter intervals, they are shown at the next sample.
    static constexpr std::chrono::seconds longInterval { 5 };

    /// For `root`, see `LiveReadings`.
    explicit Sampler(QObject* parent = nullptr, const QString& root = {});

    std::shared_ptr<const MenuBarReadings> readings() const { return m_readings; }

    /// Reads the interval and the visible items from the shared settings. If other readings are needed than before, samples
    /// immediately and again shortly after.
    void adoptSettings();

    /// The interval for a chosen number of seconds: at least `shortestInterval`, at most a day. A number that is not
    /// positive and finite gives the factory default.
    static std::chrono::milliseconds interval(double seconds);

    /// Whether the timer is active.
    bool isRunning() const { return m_timer.isActive(); }

Q_SIGNALS:
    /// There are new readings.
    void sampled();
    /// The worker's results for the last sample are available too. Emitted only at intervals from `longInterval` on.
    void completed();

private:
    void sample();

    std::shared_ptr<LiveReadings> m_readings;
    WantedReadings m_wanted;
    std::chrono::milliseconds m_interval {};
    QTimer m_timer;
    Bell m_bell;
};

} // namespace kestrum
