// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/ProcessList.h"

#include <optional>
#include <vector>

namespace kestrum {

/// Which process of an earlier list is which of a later one.
struct ProcessMatch {
    static constexpr int none = -1;
    std::vector<int> before; ///< for each process of now its place in the earlier list
    std::vector<int> now; ///< for each earlier process its place in the list of now; `none` if it has ended

    void match(const ProcessSamples& earlier, const ProcessSamples& later);
};

/// Measures how much of something, such as processor time, each process used between two lists of processes.
///
/// Most processes of a build live shorter than the time between two lists. Only the counters of those that waited for them
/// still know what they used. But these counters also contain what had been counted while such a child was alive, which must
/// not count again.
class UseCounter {
public:
    /// The counters of a process. Counters that contain those of the children in one figure are all `ofChildren`.
    struct Counters {
        quint64 own = 0;
        quint64 ofChildren = 0;
    };
    /// Gets the counters of a process; nothing where they are unknown.
    using Reading = std::optional<Counters> (*)(const ProcessSample&);

    explicit UseCounter(Reading reading)
        : m_reading(reading)
    {
    }

    /// What each process of `now` used since `before`. Each list must be the later one of the call before; after a pause, call
    /// `clear` first. The result is valid until the next call.
    const std::vector<quint64>& use(
        const ProcessSamples& before, const ProcessSamples& now, const ProcessMatch& match);

    void clear() { m_debts.clear(); }

private:
    /// What was counted of a process that has ended. The counters of the process that waited for it get it once more.
    struct Debt {
        quint64 amount;
        qint32 parent;      ///< in the earlier list
        bool isOld = false; ///< whether it was looked for in the list before
    };
    static qint32 livingAncestor(qint32 pid, const ProcessSamples& before, const ProcessMatch& match);
    std::optional<std::size_t> payer(
        const Debt& debt, const ProcessSamples& before, const ProcessMatch& match) const;

    Reading m_reading;
    std::vector<quint64> m_use;
    std::vector<quint64> m_ofChildren; ///< for each process of now: what its children's counters grew by
    std::vector<Debt> m_debts;
};

} // namespace kestrum
