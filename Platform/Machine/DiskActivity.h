// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/KernelFile.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kestrum {

/// How fast this machine reads from its disks and writes to them, from the counters in "/proc/diskstats". A device that
/// lies on others, such as an encrypted volume, is left out: what it transfers is counted at the devices below.
class DiskActivity {
public:
    using Clock = std::chrono::steady_clock;
    /// A rate over less time would be meaningless.
    static constexpr std::chrono::milliseconds shortestTime { 50 };

    struct Rates {
        double read = 0;  ///< bytes per second
        double write = 0; ///< bytes per second
        bool operator==(const Rates&) const = default;
    };

    explicit DiskActivity(const QString& root = {});
    /// `counts` says which devices count, instead of the machine's folders.
    explicit DiskActivity(std::function<bool(const std::string& name)> counts);

    /// Takes a sample and returns the rates since the last one. Nothing after the first sample, and if the kernel reports no
    /// disk. A sample too soon after the last one does not change the rates. A device that was not there at the last sample,
    /// or whose counter went back, counts as idle. `now` is a parameter for tests.
    std::optional<Rates> sample(Clock::time_point now = Clock::now());
    /// The same with what the file says.
    std::optional<Rates> sample(std::string_view content, Clock::time_point now);

    /// Call this before a pause in sampling, so that the next sample counts as the first.
    void pause();

private:
    struct Device {
        std::string name;
        bool counts = false;
        quint64 read = 0;    ///< sectors
        quint64 written = 0; ///< sectors
    };
    void parse(std::string_view content);
    const Device* lastOf(std::size_t index) const;
    bool isTooSoon(Clock::time_point now) const { return m_lastTime && now - *m_lastTime < shortestTime; }

    KernelFile m_file;
    std::function<bool(const std::string& name)> m_counts;
    std::vector<Device> m_last; ///< the devices at the last sample, in the kernel's order
    std::vector<Device> m_now;
    bool m_isListNew = false;
    std::optional<Clock::time_point> m_lastTime; ///< absent before the first sample
    std::optional<Rates> m_rates;
};

} // namespace kestrum
