// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Readings/LiveReadings.h"
#include "Platform/Machine/Bell.h"

#include <QObject>
#include <QTimer>
#include <chrono>
#include <memory>

namespace kestrum {

/// Samples the readings of the visible items at the chosen interval. While no item is visible, neither a timer nor a worker
/// is active.
class Sampler final : public QObject {
    Q_OBJECT
public:
    /// The lower limit of the interval. Smaller values of the setting are raised to this limit.
    static constexpr std::chrono::milliseconds shortestInterval { 100 };
    /// The time from the first sample to the second. It is short because the first sample is incomplete: a load is computed
    /// from two samples, and a worker's results are collected at the next sample.
    static constexpr std::chrono::milliseconds secondSample { 200 };
    /// The shortest interval at which the main thread wakes once more to show a worker's results as soon as they are ready.
    /// At shorter intervals, these results are shown at the next sample.
    static constexpr std::chrono::seconds longInterval { 5 };

    /// For `root`, see `LiveReadings`.
    explicit Sampler(QObject* parent = nullptr, const QString& root = {});

    std::shared_ptr<const MenuBarReadings> readings() const { return m_readings; }

    /// Reads the interval and the visible items from the shared settings. If the set of needed readings has changed, takes a
    /// sample immediately and another one shortly after.
    void adoptSettings();

    /// `seconds` as an interval of at least `shortestInterval` and at most a day. The factory default if `seconds` is not
    /// positive or not finite.
    static std::chrono::milliseconds interval(double seconds);

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
