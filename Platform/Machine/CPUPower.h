// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/KernelFile.h"

#include <chrono>
#include <optional>
#include <vector>

namespace kestrum {

/// Power of the processor, from the energy counters of its packages in "/sys/class/powercap". Since kernel 5.10 only root
/// can read them.
class CPUPower {
public:
    using Clock = std::chrono::steady_clock;

    explicit CPUPower(const QString& root = {});

    /// Mean power in watts since the last call, all packages together; nothing at the first call, and when a package cannot
    /// be read. Tests give the time.
    std::optional<double> read(Clock::time_point now = Clock::now());

    /// Forgets the counters, for a pause in reading: they could wrap around unnoticed.
    void pause();

private:
    struct Package {
        KernelFile energy;
        qint64 range = 0; ///< the largest value of the counter, µJ
        std::optional<qint64> before;
        std::optional<qint64> spent(); ///< µJ since the last call
    };
    void findPackages();

    QString m_folder;
    std::vector<Package> m_packages;
    Clock::time_point m_before;
    int m_passOver = 0; ///< reads until packages are looked for again
};

} // namespace kestrum
