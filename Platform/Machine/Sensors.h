// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

namespace kestrum {

/// Temperatures and fan speeds from libsensors, with the labels and corrections of the library's configuration. The library
/// reads "/sys" only, so the tests run under umockdev.
class Sensors {
public:
    struct Wanted {
        bool cpu = false;
        bool gpu = false;
        bool hottest = false;
        bool fan = false;
        bool any() const { return cpu || gpu || hottest || fan; }
        bool operator==(const Wanted&) const = default;
    };
    struct Values {
        std::optional<double> cpu;     ///< °C
        std::optional<double> gpu;     ///< °C, of the hottest card that is awake
        std::optional<double> hottest; ///< °C
        std::optional<double> fan;     ///< revolutions per minute of the fastest fan; 0 when no fan turns
    };

    /// Reads only the wanted values. A value that cannot be read is absent. Suspended devices are not woken. A reading can
    /// take milliseconds, so call this on a worker thread; while another thread is reading, it waits up to a second, and
    /// then returns nothing.
    static std::optional<Values> read(const Wanted& wanted);
};

} // namespace kestrum
