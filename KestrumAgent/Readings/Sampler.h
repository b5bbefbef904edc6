// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Readings/LiveReadings.h"
#include "Platform/Machine/Bell.h"

#include <QObject>
#include <QTimer>
#include <chrono>
#include <memory>
#include <optional>

namespace kestrum {

/// Samples the readings of the visible items and of the open popover at the chosen interval. While there is neither, neither a
/// timer nor a worker is active.
class Sampler final : public QObject {
    Q_OBJECT
public:
    /// The lower limit of the interval. Smaller values of the setting are raised to this limit.
    static constexpr std::chrono::milliseconds shortestInterval { 100 };
    /// The time from the first sample to the second. It is short because the first sample is incomplete: a load is computed
    /// from two samples, and a worker's results are collected at the next sample.
    static constexpr std::chrono::milliseconds secondSample { 200 };
    /// See `SlowReadings::longInterval`.
    static constexpr std::chrono::seconds longInterval = SlowReadings::longInterval;

    /// For `root`, see `LiveReadings`.
    explicit Sampler(QObject* parent = nullptr, const QString& root = {});

    std::shared_ptr<const LiveReadings> readings() const { return m_readings; }
    /// What is read at each sample.
    const WantedReadings& wanted() const { return m_wanted; }
    std::chrono::milliseconds interval() const { return m_interval; }

    /// Reads the interval and the visible items from the shared settings. If the set of needed readings has changed, takes a
    /// sample immediately and another one shortly after.
    void adoptSettings();

    /// While the popover of a section is open, its readings are sampled too, whether or not its item is visible. If something
    /// else is read for it, or if the next sample is far away, takes a sample immediately and another one shortly after.
    void setPopover(std::optional<MonitorSection> section);

    /// `seconds` as an interval of at least `shortestInterval` and at most a day. The factory default if `seconds` is not
    /// positive or not finite.
    static std::chrono::milliseconds interval(double seconds);

    bool isRunning() const { return m_timer.isActive(); }

Q_SIGNALS:
    /// There are new readings.
    void sampled();
    /// The worker's results for the last sample are available too. Emitted only at intervals from `longInterval` on, and for
    /// the samples that a popover is opened with.
    void completed();
    /// Nothing is read from now on, until the next `sampled`.
    void paused();

private:
    void adopt(bool isOpening);
    void sample();

    std::shared_ptr<LiveReadings> m_readings;
    std::optional<MonitorSection> m_popover;
    int m_awaited = 0; ///< how many of the next samples are those that a popover is opened with
    WantedReadings m_wanted;
    std::chrono::milliseconds m_interval {};
    QTimer m_timer;
    Bell m_bell;
};

} // namespace kestrum
