#pragma once

#include <QByteArray>
#include <atomic>
#include <optional>
#include <vector>

struct sensors_chip_name;

namespace kestrum {

/// Temperatures and fans as libsensors knows them, with what its configuration says about names and corrections. Reading
/// one takes up to milliseconds: for a worker. The library is one of a kind in a process, and so is this.
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
        std::optional<double> gpu;     ///< °C, of the hottest that is awake
        std::optional<double> hottest; ///< °C
        std::optional<double> fan;     ///< revolutions a minute of the fastest; 0 is a fan that stands still
    };

    /// Lives until the process ends, as a worker may be waiting for a device at that time.
    static Sensors& ofThisMachine();

    /// Reads what is wanted and nothing else; what cannot be read is absent. Devices that sleep are left asleep. Any
    /// thread; who comes while another reads gets nothing.
    Values read(const Wanted& wanted);

private:
    Sensors() = default;
    Values readAlone(const Wanted& wanted);

    /// How well a temperature stands for a whole processor; 0 is not at all.
    using Rank = int;
    struct Input {
        const sensors_chip_name* chip;
        int value;
        int fault; ///< negative when there is none
        Rank cpu;
        Rank gpu;
        bool isQuiet; ///< not to be read for the sake of the hottest
    };
    void adoptChips();
    void adopt(const sensors_chip_name& chip);
    std::optional<double> temperature(const Input& input);
    std::optional<double> best(Rank Input::*rank);
    bool isAsleep(const sensors_chip_name& chip);
    void close();

    std::atomic_flag m_isBusy;
    QByteArray m_chips; ///< which devices the library was opened for
    bool m_isOpen = false;
    std::vector<Input> m_temperatures;
    std::vector<Input> m_fans;
};

} // namespace kestrum
