// SPDX-License-Identifier: MIT
#include "Platform/Machine/UseCounter.h"

#include <algorithm>
#include <utility>

namespace kestrum {
namespace {

// A process gets its start before it can be listed, and others may be started and listed in between: on a busy machine, what
// starts it waits there for a processor. In ticks of the clock of processes' starts.
constexpr quint64 latestListing = 100;

quint64 growth(quint64 before, quint64 now)
{
    return now > before ? now - before : 0;
}

} // namespace

void ProcessMatch::match(const ProcessSamples& earlier, const ProcessSamples& later)
{
    before.assign(later.size(), none);
    now.assign(earlier.size(), none);
    std::size_t old = 0;
    for (std::size_t i = 0; i < later.size(); ++i) {
        while (old < earlier.size() && earlier[old].pid < later[i].pid)
            ++old;
        if (old < earlier.size() && earlier[old].isSameProcess(later[i])) {
            before[i] = int(old);
            now[old] = int(i);
        }
    }
}

const std::vector<quint64>& UseCounter::use(
    const ProcessSamples& before, const ProcessSamples& now, const ProcessMatch& match)
{
    quint64 newestStart = 0;
    for (std::size_t i = 0; i < before.size(); ++i) {
        newestStart = std::max(newestStart, before[i].start);
        if (match.now[i] != ProcessMatch::none)
            continue;
        const Counters counted = m_reading(before[i]).value_or(Counters());
        if (counted.own + counted.ofChildren > 0)
            m_debts.push_back({ counted.own + counted.ofChildren, before[i].parent });
    }

    m_use.assign(now.size(), 0);
    m_ofChildren.assign(now.size(), 0);
    for (std::size_t i = 0; i < now.size(); ++i) {
        const auto counters = m_reading(now[i]);
        if (!counters)
            continue;
        if (match.before[i] != ProcessMatch::none) {
            if (const auto earlier = m_reading(before[std::size_t(match.before[i])])) {
                m_use[i] = growth(earlier->own, counters->own);
                m_ofChildren[i] = growth(earlier->ofChildren, counters->ofChildren);
            }
        } else if (now[i].start + latestListing >= newestStart) {
            // An older process that was not listed before could not be read then. Its counters may hold hours.
            m_use[i] = counters->own + counters->ofChildren;
        }
    }

    // A parent that lives is sure to have waited. So children of ended parents come last and get what is left.
    std::stable_partition(m_debts.begin(), m_debts.end(), [&](const Debt& debt) {
        const auto parent = ProcessList::find(before, debt.parent);
        return parent && match.now[*parent] != ProcessMatch::none;
    });
    // Whoever waited for the process has at least its amount. If nobody has, the process ended after its parent was read, and
    // the amount comes with the next list; or nobody waited, and the amount never comes.
    std::vector<Debt> open;
    for (Debt& debt : m_debts) {
        if (const auto paying = payer(debt, before, match))
            m_ofChildren[*paying] -= debt.amount;
        else if (!std::exchange(debt.isOld, true))
            open.push_back({ debt.amount, livingAncestor(debt.parent, before, match), true });
    }
    m_debts = std::move(open);
    for (std::size_t i = 0; i < now.size(); ++i)
        m_use[i] += m_ofChildren[i];
    return m_use;
}

// The process itself, if it lives or nothing is known of it.
qint32 UseCounter::livingAncestor(qint32 pid, const ProcessSamples& before, const ProcessMatch& match)
{
    for (int step = 0; step < ProcessList::mostAncestors; ++step) {
        const auto earlier = ProcessList::find(before, pid);
        if (!earlier || match.now[*earlier] != ProcessMatch::none)
            break;
        pid = before[*earlier].parent;
    }
    return pid;
}

// The nearest living ancestor, unless it has too little: the kernel gives orphans to an ancestor further up. A parent that
// lives waits itself, if only after it was read, so the others are left alone until the next list.
std::optional<std::size_t> UseCounter::payer(
    const Debt& debt, const ProcessSamples& before, const ProcessMatch& match) const
{
    qint32 pid = debt.parent;
    for (int step = 0; step < ProcessList::mostAncestors; ++step) {
        const auto earlier = ProcessList::find(before, pid);
        if (!earlier)
            return std::nullopt;
        const int place = match.now[*earlier];
        if (place != ProcessMatch::none && m_ofChildren[std::size_t(place)] >= debt.amount)
            return std::size_t(place);
        if (step == 0 && place != ProcessMatch::none && !debt.isOld)
            return std::nullopt;
        pid = before[*earlier].parent;
    }
    return std::nullopt;
}

} // namespace kestrum
