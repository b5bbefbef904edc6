// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/KernelFile.h"

#include <QList>
#include <array>
#include <functional>
#include <vector>

namespace kestrum {

/// The load of the processor, from the time counters in "/proc/stat". A load is measured between two samples, so the
/// first sample gives no load.
class CPULoad {
public:
    static constexpr int historyLength = 36;

    /// The kernel's numbers for the processors of each level, the fastest level first.
    using Levels = std::function<QList<QList<int>>()>;

    explicit CPULoad(const QString& root = {});
    /// `levels` is asked whenever other cores are online, instead of the machine.
    explicit CPULoad(Levels levels);

    /// Takes a sample. A sample too soon after the last one does not change the loads.
    void sample();
    /// The same with what the file says.
    void sample(std::string_view content);

    /// Call this before a pause in sampling. Clears counters and history, so the next sample counts as the first.
    void pause();

    double total() const { return m_total; }
    /// One load per online core, 0…1. The slowest level comes first. The cores of a level are sorted by number.
    const QList<double>& cores() const { return m_cores; }
    /// The kernel's number of each of `cores`, from 0 on. Offline cores are left out.
    const QList<int>& numbers() const { return m_numbers; }
    /// How many cores at the end of `cores` belong to the fastest level; 0 when all cores are alike.
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
    Levels m_levels;
    std::vector<Core> m_base; ///< the cores at the last sample that was used, sorted by number
    std::vector<Core> m_now;
    std::vector<std::size_t> m_order; ///< indices into `m_base`, in the order of `m_cores`
    int m_performanceCount = 0;
    double m_total = 0;
    QList<double> m_cores;
    QList<int> m_numbers;
    QList<double> m_history;
};

} // namespace kestrum
