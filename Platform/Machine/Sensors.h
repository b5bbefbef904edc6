// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <mutex>
#include <optional>
#include <vector>

struct sensors_chip_name;

namespace kestrum {

/// Temperatures and fan speeds from libsensors, with the labels and corrections of the library's configuration. A
/// reading can take milliseconds, so call `read` on a worker thread. The library has one state per process, so this
/// class is a singleton. The library reads "/sys" only, so the tests run under umockdev.
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

    /// The only object. Never destroyed, because a worker may still wait for a device when the process ends.
    static Sensors& ofThisMachine();

    /// Reads only the wanted values. A value that cannot be read is absent. Suspended devices are not woken. Any thread;
    /// a call while another thread is reading returns no values.
    Values read(const Wanted& wanted);

private:
    Sensors() = default;

    /// How well a sensor represents a whole CPU or GPU: 1 is best, larger numbers are worse, and 0 means not at all.
    using Rank = int;
    struct Input {
        const sensors_chip_name* chip;
        int value;
        int fault; ///< the number of the fault flag; negative when there is none
        Rank cpu;
        Rank gpu;
        bool isQuiet; ///< true: not read for `Values::hottest`
    };
    void adoptChips();
    void adopt(const sensors_chip_name& chip);
    std::optional<double> temperature(const Input& input);
    std::optional<double> best(Rank Input::*rank);
    bool isAsleep(const sensors_chip_name& chip);

    std::mutex m_mutex; ///< held while a thread is reading
    QByteArray m_chips; ///< the devices that were present when the library was opened
    bool m_isOpen = false;
    std::vector<Input> m_temperatures;
    std::vector<Input> m_fans;
};

} // namespace kestrum
