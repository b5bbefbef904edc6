#pragma once

#include "Platform/Machine/KernelFile.h"

#include <chrono>
#include <optional>
#include <vector>

namespace kestrum {

/// Power of the processor, from the energy counters of its packages in "/sys/class/powercap". Kernels since 5.10 let only
/// the administrator read them.
class CPUPower {
public:
    using Clock = std::chrono::steady_clock;

    explicit CPUPower(const QString& root = {});

    /// Mean power in watts since the call before, all packages together; nothing at first, and when a package cannot be
    /// read. Times are given for tests.
    std::optional<double> read(Clock::time_point now = Clock::now());

    /// Forgets the counters, for when nobody reads for a while: they would have come round unseen.
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
