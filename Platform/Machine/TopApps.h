// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/AppGrouping.h"
#include "Platform/Machine/AppUse.h"

#include <QList>
#include <chrono>
#include <optional>

namespace kestrum {

/// What the apps of the machine use. Works in one thread at a time, and takes some milliseconds, so use a `Worker`.
class TopApps {
public:
    enum class Column { cpu, memory, disk };
    using Nanoseconds = std::chrono::nanoseconds;

    /// The shortest time between two samples, except after the very first one.
    static constexpr std::chrono::seconds shortestPause { 2 };
    /// The time after the first sample: soon enough for somebody who looks, and long enough to measure.
    static constexpr std::chrono::milliseconds firstPause { 500 };
    /// A difference to a sample that is older would show the past, and counts as none.
    static constexpr std::chrono::seconds longestPause { 60 };

    explicit TopApps(const QString& root = {}, const QStringList& dataFolders = AppNames::userFolders());
    Q_DISABLE_COPY_MOVE(TopApps)

    /// Takes a sample, and gives all apps in no particular order with what they used since the last sample. `memory` is given
    /// for the column `memory` only, rates for `disk` only; a rate of reading and writing is known for the user's own processes
    /// only, and apps without such a process are left out. Gives nothing while there is no sample to compare with, which the
    /// column `memory` does not need; and nothing if no process can be read. `now` is a clock that only goes forward.
    std::optional<QList<AppUse>> sample(Column column, const AppLanguageTexts& language,
        Nanoseconds now = std::chrono::steady_clock::now().time_since_epoch());

    /// The processor time of the last sample.
    Nanoseconds cost() const { return m_cost; }
    /// The time until the next sample where readings are refreshed every `refreshInterval`: so long that samples of this cost
    /// take no more than a hundredth of a core.
    static Nanoseconds pauseAfter(Nanoseconds cost, Nanoseconds refreshInterval);

private:
    std::optional<QList<AppUse>> measure(Column column, const AppLanguageTexts& language, Nanoseconds now);

    ProcessList m_processes;
    AppGrouping m_grouping;
    UseCounter m_time;
    UseCounter m_read;
    UseCounter m_written;
    ProcessSamples m_before;
    ProcessSamples m_now;
    ProcessMatch m_match;
    std::optional<Nanoseconds> m_last; ///< time of the last sample
    bool m_hasVolumeCounters = false;  ///< whether the last sample has those
    Nanoseconds m_cost {};
};

} // namespace kestrum
