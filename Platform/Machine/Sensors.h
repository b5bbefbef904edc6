// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <atomic>
#include <optional>
#include <vector>

struct sensors_chip_name;

namespace kestrum {

/// Temperatures and fans from libsensors, with the names and corrections of its configuration. A reading takes up to
/// milliseconds, so it belongs on a worker. The library has one state per process, so this is a singleton.
/// It reads "/sys" only: its tests run under umockdev.
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
        std::optional<double> fan;     ///< revolutions a minute of the fastest fan; 0 when it stands still
    };

    /// Lives until the process ends, since a worker may still be waiting for a device then.
    static Sensors& ofThisMachine();

    /// Reads only the wanted values; one that cannot be read is absent. Sleeping devices stay asleep. Any thread; a call
    /// during another thread's reading gives nothing.
    Values read(const Wanted& wanted);

private:
    Sensors() = default;
    Values readAlone(const Wanted& wanted);

    /// How well a sensor represents a whole processor; 0 is not at all.
    using Rank = int;
    struct Input {
        const sensors_chip_name* chip;
        int value;
        int fault; ///< negative when there is none
        Rank cpu;
        Rank gpu;
        bool isQuiet; ///< not read for the hottest temperature
    };
    void adoptChips();
    void adopt(const sensors_chip_name& chip);
    std::optional<double> temperature(const Input& input);
    std::optional<double> best(Rank Input::*rank);
    bool isAsleep(const sensors_chip_name& chip);
    void close();

    std::atomic_flag m_isBusy;
    QByteArray m_chips; ///< the devices for which the library was opened
    bool m_isOpen = false;
    std::vector<Input> m_temperatures;
    std::vector<Input> m_fans;
};

} // namespace kestrum
