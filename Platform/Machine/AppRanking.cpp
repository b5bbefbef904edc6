// SPDX-License-Identifier: MIT
#include "Platform/Machine/AppRanking.h"

#include <algorithm>
#include <numeric>
#include <tuple>
#include <utility>

namespace kestrum {
namespace {

constexpr int samplesUntilLeaving = 2;

} // namespace

AppRanking::AppRanking(int rowCount, Value value)
    : m_rowCount(rowCount)
    , m_value(std::move(value))
{
}

void AppRanking::clear()
{
    m_candidates.clear();
    m_rows.clear();
}

void AppRanking::add(const QList<AppUse>& apps)
{
    takeSample(apps);
    const QList<QString> best = ranked();
    const bool isFixed = m_isHeld && !m_rows.isEmpty();
    QList<QString> ids;
    for (const AppUse& row : std::as_const(m_rows)) {
        int& outranked = m_candidates[row.id].outranked;
        outranked = best.contains(row.id) ? 0 : outranked + 1;
        if (isFixed || outranked < samplesUntilLeaving)
            ids.append(row.id);
    }
    if (!isFixed) {
        for (auto id = best.begin(); id != best.end() && ids.size() < m_rowCount; ++id) {
            if (ids.contains(*id))
                continue;
            m_candidates[*id].outranked = 0; // it may have left earlier
            ids.append(*id);
        }
        std::sort(ids.begin(), ids.end(),
            [this](const QString& one, const QString& other) { return isBefore(one, other); });
    }
    m_rows.clear();
    for (const QString& id : std::as_const(ids))
        m_rows.append(m_candidates[id].use);
    m_candidates.removeIf(
        [&ids](const auto& entry) { return entry->sum <= 0 && !ids.contains(entry.key()); });
}

void AppRanking::takeSample(const QList<AppUse>& apps)
{
    for (Candidate& candidate : m_candidates)
        candidate.use = { candidate.use.id, candidate.use.name };
    for (const AppUse& app : apps)
        m_candidates[app.id].use = app;
    m_place = (m_place + 1) % meanLength;
    for (Candidate& candidate : m_candidates) {
        candidate.values[m_place] = m_value(candidate.use);
        candidate.sum = std::accumulate(candidate.values.begin(), candidate.values.end(), 0.0);
    }
}

// The ids of the apps that should be shown, the first row first.
QList<QString> AppRanking::ranked() const
{
    QList<QString> ids;
    for (auto candidate = m_candidates.begin(); candidate != m_candidates.end(); ++candidate) {
        if (candidate->sum > 0)
            ids.append(candidate.key());
    }
    const auto count = std::min<qsizetype>(ids.size(), m_rowCount);
    std::partial_sort(ids.begin(), ids.begin() + count, ids.end(),
        [this](const QString& one, const QString& other) { return isBefore(one, other); });
    return ids.mid(0, count);
}

// Equal apps are ordered by name, since the order of samples is chance.
bool AppRanking::isBefore(const QString& one, const QString& other) const
{
    const Candidate& first = *m_candidates.constFind(one);
    const Candidate& second = *m_candidates.constFind(other);
    if (first.sum != second.sum)
        return first.sum > second.sum;
    return std::tie(first.use.name, one) < std::tie(second.use.name, other);
}

} // namespace kestrum
