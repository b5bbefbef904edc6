// SPDX-License-Identifier: MIT
#include "Platform/Machine/TopApps.h"

#include <algorithm>
#include <ctime>
#include <unistd.h>

namespace kestrum {
namespace {

using Counters = UseCounter::Counters;

std::optional<Counters> timeOf(const ProcessSample& process)
{
    return Counters { process.time, process.childrenTime };
}

std::optional<Counters> readOf(const ProcessSample& process)
{
    return process.hasVolumeCounters ? std::optional(Counters { 0, process.readBytes }) : std::nullopt;
}

std::optional<Counters> writtenOf(const ProcessSample& process)
{
    return process.hasVolumeCounters ? std::optional(Counters { 0, process.writtenBytes }) : std::nullopt;
}

TopApps::Nanoseconds threadTime()
{
    timespec time {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

} // namespace

TopApps::TopApps(const QString& root, const QStringList& dataFolders)
    : m_processes(root)
    , m_grouping(m_processes, dataFolders)
    , m_time(timeOf)
    , m_read(readOf)
    , m_written(writtenOf)
{
}

TopApps::Nanoseconds TopApps::pauseAfter(Nanoseconds cost, Nanoseconds refreshInterval)
{
    return std::max({ refreshInterval, Nanoseconds(shortestPause), cost * 100 });
}

std::optional<QList<AppUse>> TopApps::sample(Column column, const AppLanguageTexts& language, Nanoseconds now)
{
    const Nanoseconds begin = threadTime();
    auto apps = measure(column, language, now);
    m_cost = threadTime() - begin;
    return apps;
}

std::optional<QList<AppUse>> TopApps::measure(
    Column column, const AppLanguageTexts& language, Nanoseconds now)
{
    using Extra = ProcessList::Extra;
    static const auto ticksPerSecond = double(::sysconf(_SC_CLK_TCK));

    std::swap(m_before, m_now);
    m_processes.read(column == Column::memory ? Extra::memory
            : column == Column::disk          ? Extra::volumes
                                              : Extra::none,
        m_now);
    if (m_now.empty()) {
        // The table could not be read. Against no list, each process would count as new, with all it has ever used.
        m_time.clear();
        m_read.clear();
        m_written.clear();
        m_last.reset();
        return std::nullopt;
    }
    m_match.match(m_before, m_now);
    const std::vector<int>& places = m_grouping.group(m_before, m_now, m_match, language, now);

    const Nanoseconds elapsed = m_last ? now - *m_last : Nanoseconds(0);
    const bool hasDifference = elapsed > Nanoseconds(0) && elapsed <= longestPause;
    const bool hasRates = hasDifference && m_hasVolumeCounters && column == Column::disk;
    m_last = now;
    m_hasVolumeCounters = column == Column::disk;
    if (!hasDifference)
        m_time.clear();
    if (!hasRates) {
        m_read.clear();
        m_written.clear();
    }
    const double seconds = std::chrono::duration<double>(elapsed).count();

    // Only sums are needed of each app, so counters are asked only where there is a difference.
    QList<AppUse> apps(qsizetype(m_grouping.apps().size()));
    std::vector<bool> isListed(m_grouping.apps().size(), false);
    for (std::size_t i = 0; i < m_now.size(); ++i) {
        if (column != Column::disk || m_now[i].hasVolumeCounters)
            isListed[std::size_t(places[i])] = true;
        apps[places[i]].memory += m_now[i].memory;
    }
    const auto addUse = [&](UseCounter& counter, double AppUse::*member, double unit) {
        const std::vector<quint64>& use = counter.use(m_before, m_now, m_match);
        for (std::size_t i = 0; i < use.size(); ++i)
            apps[places[i]].*member += double(use[i]) / unit / seconds;
    };
    if (hasDifference)
        addUse(m_time, &AppUse::cores, ticksPerSecond);
    if (hasRates) {
        addUse(m_read, &AppUse::readRate, 1);
        addUse(m_written, &AppUse::writeRate, 1);
    }
    if (column == Column::cpu ? !hasDifference : column == Column::disk && !hasRates)
        return std::nullopt;

    QList<AppUse> listed;
    for (std::size_t i = 0; i < isListed.size(); ++i) {
        if (!isListed[i])
            continue;
        AppUse& app = apps[qsizetype(i)];
        app.id = m_grouping.apps()[i].id;
        app.name = m_grouping.apps()[i].name;
        listed.append(app);
    }
    return listed;
}

} // namespace kestrum
