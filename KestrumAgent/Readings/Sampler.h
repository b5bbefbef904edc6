// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Readings/LiveReadings.h"
#include "Platform/Machine/Bell.h"

#include <QObject>
#include <QTimer>
#include <chrono>
#include <memory>

namespace kestrum {

/// Reads the machine at the chosen interval, only what a shown item needs, and not at all while none is shown: then there
/// is no timer and no worker.
class Sampler final : public QObject {
    Q_OBJECT
public:
    /// More often than this nothing is read, whatever is chosen.
    static constexpr std::chrono::milliseconds shortestInterval { 100 };
    /// From a first sample to the next: a load is a difference, and a worker's results are taken at the next sample.
    static constexpr std::chrono::milliseconds secondSample { 200 };
    /// From this interval on, what a worker reads is shown when it is there, for which the main thread wakes once more; at
    /// shorter ones at the next sample.
    static constexpr std::chrono::seconds longInterval { 5 };

    /// `root` as for `LiveReadings`.
    explicit Sampler(QObject* parent = nullptr, const QString& root = {});

    std::shared_ptr<const MenuBarReadings> readings() const { return m_readings; }

    /// Takes the interval and the shown items from the shared settings; samples at once, and once more shortly after, when
    /// other readings are needed than before.
    void adoptSettings();

    /// The interval for a chosen number of seconds: at least `shortestInterval`, at most a day, and the factory default for
    /// what is not a positive number.
    static std::chrono::milliseconds interval(double seconds);

    /// Whether it reads from time to time.
    bool isRunning() const { return m_timer.isActive(); }

Q_SIGNALS:
    /// There are new readings.
    void sampled();
    /// At long intervals: what a worker has read for the sample before is there too.
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
