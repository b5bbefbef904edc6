// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/KernelFile.h"

#include <chrono>
#include <optional>
#include <vector>

namespace kestrum {

/// The power of the processor, from the energy counters of its packages in "/sys/class/powercap". Since kernel 5.10 only
/// root can read these counters.
class CPUPower {
public:
    using Clock = std::chrono::steady_clock;

    explicit CPUPower(const QString& root = {});

    /// The mean power of all packages together since the last call, in watts, always more than 0. Nothing at the first
    /// call, or if a package cannot be read. Only tests pass `now`.
    std::optional<double> read(Clock::time_point now = Clock::now());

    /// Whether there are counters, as of the last `read`.
    bool hasPackages() const { return !m_packages.empty(); }

    /// Whether there are counters, but this process was not allowed to read one of them at the last attempt. `read` goes on
    /// trying, because an administrator can give the permission at any time.
    bool isDenied() const;

    /// Call this before a pause in reading: a counter could wrap around unnoticed, so the last counters are discarded.
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
    int m_passOver = 0; ///< calls of `read` until the next search for packages
};

} // namespace kestrum
