// SPDX-License-Identifier: MIT
#include "KestrumShared/Readings/AppListReader.h"

#include "KestrumShared/Text/AppLanguage.h"

#include <algorithm>
#include <utility>

namespace kestrum {
namespace {

// A list that cannot be read must not be tried without end.
constexpr int mostQuickScans = 6;

} // namespace

AppListReader::AppListReader(const QString& root, std::function<void()> done,
    std::function<Clock::time_point()> now, std::function<Clock::duration(const TopApps&)> costOf,
    Clock::duration toFirstFrame)
    : m_root(root)
    , m_apps(std::make_shared<TopApps>(root))
    , m_done(std::move(done))
    , m_now(std::move(now))
    , m_costOf(std::move(costOf))
    , m_toFirstFrame(toFirstFrame)
    , m_ranking(rankingOf(Column::cpu))
{
    m_timer.setSingleShot(true);
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] {
        if (m_column)
            scanSoon();
    });
}

void AppListReader::approach(Column column)
{
    if (m_column)
        return;
    collect();
    if (isDue(TopApps::pauseAfter(m_cost, {})))
        scan(column, false, m_done);
}

void AppListReader::open(Column column)
{
    collect();
    m_column = column;
    m_ranking = rankingOf(column);
    m_ranking.setHeld(m_isHeld);
    m_quickScans = 0;
    const bool isKnown = m_approached && m_approached->column == column && m_approached->apps
        && m_approached->isOfNow && !isDue(TopApps::shortestPause);
    if (isKnown)
        m_ranking.add(*m_approached->apps);
    m_approached.reset();
    if (!isKnown)
        scanSoon(m_toFirstFrame);
}

void AppListReader::tick(std::chrono::nanoseconds interval, const std::function<void()>& done)
{
    // Ticks come up to a twentieth of the interval early or late. A scan must not wait for one more tick because of that.
    if (m_column && isDue(TopApps::pauseAfter(m_cost, interval) - interval / 20)
        && scan(*m_column, true, done))
        m_quickScans = 0;
}

bool AppListReader::collect()
{
    std::optional<Scan> scan = m_background.take();
    if (!scan)
        return m_background.isBusy() && isDue(longestScan) && giveUp();
    m_cost = scan->cost;
    if (!m_column) {
        m_approached = std::move(scan);
        return false;
    }
    const bool isOfList = scan->column == *m_column && scan->apps && scan->isOfNow;
    if (isOfList)
        m_ranking.add(*scan->apps);
    else
        scanSoon();
    return isOfList;
}

/// Another worker goes on with the next scan. The one that hangs keeps what it was working with.
bool AppListReader::giveUp()
{
    if (m_background.leaveBehind())
        m_apps = std::make_shared<TopApps>(m_root);
    m_approached.reset();
    const bool hadRows = !rows().isEmpty();
    m_ranking.clear();
    return hadRows;
}

void AppListReader::close()
{
    m_column.reset();
    m_timer.stop();
    m_ranking.clear();
}

AppRanking AppListReader::rankingOf(Column column)
{
    switch (column) {
    case Column::cpu:
        return AppRanking(5, [](const AppUse& app) { return app.cores; });
    case Column::memory:
        return AppRanking(5, [](const AppUse& app) { return double(app.memory); });
    case Column::disk:
        break;
    }
    return AppRanking(3, [](const AppUse& app) { return app.readRate + app.writeRate; });
}

bool AppListReader::scan(Column column, bool isRegular, const std::function<void()>& done)
{
    // A difference over a longer time shows the past.
    const bool isOfNow
        = column == Column::memory || isRegular || !isDue(2 * Clock::duration(TopApps::shortestPause));
    const Clock::time_point now = m_now();
    const AppLanguageTexts language { AppLanguage::code(), AppLanguage::string("Container") };
    const bool isBegun = m_background.begin(
        [apps = m_apps, column, language, isOfNow, clock = m_now, costOf = m_costOf] {
            // The worker may begin late, and rates are over the time between the readings themselves.
            Scan scan { column, apps->sample(column, language, clock().time_since_epoch()), {}, isOfNow };
            scan.cost = costOf(*apps);
            return scan;
        },
        done);
    if (!isBegun)
        return false;
    m_timer.stop();
    m_last = now;
    ++m_scans;
    return true;
}

/// Scans as soon as the difference to the last scan is worth showing, but not before `pause` is over. While a scan is running,
/// its end decides what to do.
void AppListReader::scanSoon(Clock::duration pause)
{
    if (m_background.isBusy() || m_quickScans == mostQuickScans)
        return;
    ++m_quickScans;
    if (m_last)
        pause = std::max<Clock::duration>(pause, *m_last + TopApps::firstPause - m_now());
    if (pause > Clock::duration::zero())
        m_timer.start(std::chrono::ceil<std::chrono::milliseconds>(pause));
    else
        scan(*m_column, false, m_done);
}

} // namespace kestrum
