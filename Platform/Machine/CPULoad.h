// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/KernelFile.h"
#include "Platform/Machine/KernelValues.h"

#include <QList>
#include <array>
#include <vector>

namespace kestrum {

/// Load of the processor, from the time counters in "/proc/stat": a load is measured between two samples, so the first
/// sample gives none.
class CPULoad {
public:
    static constexpr int historyLength = 36;

    explicit CPULoad(const QString& root = {});

    /// Takes a sample. Samples closer together than the counters' resolution leave the loads as they are.
    void sample();

    /// Forgets the counters and the history, for a pause in sampling: the next sample is a first one.
    void pause();

    double total() const { return m_total; }
    /// One load a core that is online, slowest level first, in the order of the kernel's numbers within a level.
    const QList<double>& cores() const { return m_cores; }
    /// The number of the last `cores` that belong to the fastest level; 0 when all cores are alike.
    int performanceCount() const { return m_performanceCount; }
    /// Total loads of the last `historyLength` samples, oldest first.
    const QList<double>& history() const { return m_history; }

private:
    struct Core {
        int number = 0;
        std::array<quint64, 8> counters {};
        double load = 0;
    };
    void parse(std::string_view content);
    void arrange();

    KernelFile m_file;
    KernelValues m_kernel;
    std::vector<Core> m_base; ///< in the order of their numbers, as of the last sample that counted
    std::vector<Core> m_now;
    std::vector<std::size_t> m_order; ///< places in `m_base`, in the order of `m_cores`
    int m_performanceCount = 0;
    double m_total = 0;
    QList<double> m_cores;
    QList<double> m_history;
};

} // namespace kestrum
