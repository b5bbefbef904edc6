// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Readings/Background.h"
#include "Platform/Machine/AppRanking.h"
#include "Platform/Machine/TopApps.h"

#include <QList>
#include <QTimer>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace kestrum {

/// The list of apps in an open popover. Scans of the processes are the dearest of all readings. So there is none while nobody
/// looks, and while somebody does, scans at ticks take no more than a hundredth of a core.
class AppListReader {
public:
    using Column = TopApps::Column;
    using Clock = std::chrono::steady_clock;

    /// After this time without an end of a scan, the rows are no longer shown.
    static constexpr std::chrono::seconds longestScan { 10 };

    /// A scan keeps a core busy for some milliseconds: an opening popover is painted first.
    static constexpr std::chrono::milliseconds paintingTime { 20 };

    /// A worker calls `done`, which may be empty, when `collect` has something to take over. Tests pass a clock, which workers
    /// read too, what a scan costs, and how long the first one waits.
    AppListReader(const QString& root, std::function<void()> done,
        std::function<Clock::time_point()> now = Clock::now,
        std::function<Clock::duration(const TopApps&)> costOf = &TopApps::cost,
        Clock::duration toFirstFrame = paintingTime);

    /// A popover with the list may be opened soon: takes the first of two scans, at most one in two seconds.
    void approach(Column column);
    /// The list is shown from now on, empty unless a scan has just been taken. Scans when the popover is
    /// painted, and a difference is worth showing.
    void open(Column column);
    /// Call this at each sample while the list is shown. Scans again if it is time. Readings are shown every `interval`.
    /// A worker calls `done` here as above.
    void tick(std::chrono::nanoseconds interval, const std::function<void()>& done);
    /// Takes over a scan that is done, or gives up one that hangs. Returns true if the rows may have changed.
    bool collect();
    /// The list is no longer shown.
    void close();

    /// See `AppRanking::setHeld`. Another list that takes the place of this one is held too.
    void setHeld(bool isHeld) { m_ranking.setHeld(m_isHeld = isHeld); }
    /// The rows from the top; empty until the first difference is known.
    const QList<AppUse>& rows() const { return m_ranking.rows(); }

    /// How many scans were begun, for tests.
    int scans() const { return m_scans; }
    /// Whether a scan is running, or its result is not taken over yet.
    bool isScanning() const { return m_background.isBusy(); }

private:
    struct Scan {
        Column column {};
        std::optional<QList<AppUse>> apps;
        Clock::duration cost {};
        bool isOfNow = false; ///< whether the difference is over a short time
    };
    static AppRanking rankingOf(Column column);
    bool isDue(Clock::duration pause) const { return !m_last || m_now() - *m_last >= pause; }
    bool scan(Column column, bool isRegular, const std::function<void()>& done);
    void scanSoon(Clock::duration pause = {});
    bool giveUp();

    QString m_root;
    std::shared_ptr<TopApps> m_apps;
    std::function<void()> m_done;
    std::function<Clock::time_point()> m_now;
    std::function<Clock::duration(const TopApps&)> m_costOf;
    Clock::duration m_toFirstFrame;
    Background<Scan> m_background;
    QTimer m_timer;                 ///< for the second scan after opening
    std::optional<Column> m_column; ///< absent while the list is not shown
    AppRanking m_ranking;
    bool m_isHeld = false;
    std::optional<Scan> m_approached; ///< the last scan while the list was not shown
    std::optional<Clock::time_point> m_last;
    Clock::duration m_cost {};
    int m_quickScans
        = 0; ///< attempts that did not wait for a tick, since opening or since the last tick with a scan
    int m_scans = 0;
};

} // namespace kestrum
