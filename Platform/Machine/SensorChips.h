// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/SensorDevices.h"

#include <QByteArray>
#include <functional>
#include <mutex>
#include <string_view>
#include <tuple>
#include <vector>

struct sensors_chip_name;

namespace kestrum {

/// A device that libsensors found, with what is read of it. Values that cannot be read, or that no such device can have, are
/// absent. Reading them wakes a suspended device.
struct SensorChip {
    /// How well a sensor represents a whole CPU or GPU: 1 is best, larger numbers are worse, and 0 means not at all.
    using Rank = int;
    static constexpr Rank worstRank = 3;

    struct Input {
        int value = -1; ///< the library's number
        int fault = -1; ///< the number of the fault flag; negative when there is none
        QString name;   ///< the driver's, such as "temp1" or "fan1"
        QString label;  ///< the same as `name` if neither the configuration nor the driver has a label
        bool isNamedByUser = false; ///< whether the label is from the library's configuration
        Rank cpu = 0;
        Rank gpu = 0;
        Rank own = worstRank; ///< how well it represents its device; never 0
    };

    /// The place in a list of all devices: the kinds in their order, and the devices of a kind as they are connected.
    struct Place {
        SensorDevice::Kind kind;
        int bus;
        int busNumber;
        int address;
        QString id;     ///< the library's name of the device, made unique
        QString folder; ///< of the device in "/sys"
        bool operator<(const Place& other) const
        {
            const auto key = [](const Place& one) {
                return std::tie(one.kind, one.bus, one.busNumber, one.address, one.id, one.folder);
            };
            return key(*this) < key(other);
        }
    };

    std::function<std::optional<double>(int number)>
        value; ///< by the library's number; absent if it cannot be read
    Place place;
    QString driver; ///< the name that the driver gives its devices
    QString model;  ///< the model of a disk; empty if unknown
    bool isQuiet;   ///< whether reading it has side effects, so that it is read only by those who must
    int power;      ///< the number of the power; negative when there is none
    std::vector<Input> temperatures;
    std::vector<Input> fans;

    /// An input that has no numbers yet. `name` is the driver's, `given` the kernel's label, which may be empty, and `label` that of
    /// the library's configuration.
    static Input input(
        std::string_view driver, const char* name, std::string_view given, std::string_view label);

    bool isAsleep() const;
    std::optional<double> celsius(const Input& temperature) const;
    std::optional<double> rpm(const Input& fan) const;
    std::optional<double> watts() const;
};

/// The devices that libsensors finds. The library has one state per process, so this class is a singleton.
class SensorChips {
public:
    using Lock = std::unique_lock<std::timed_mutex>;

    /// The only object. Never destroyed, because a worker may still wait for a device when the process ends.
    static SensorChips& ofThisMachine();

    /// Keeps other threads out. Waits for a thread that reads; does not own the mutex if that takes longer than a second,
    /// because a device may hang.
    Lock lock();

    /// The devices at this moment, in the order of their buses. Needs the lock, and is valid as long as it is held.
    const std::vector<SensorChip>& present();

private:
    SensorChips() = default;
    void adopt(const sensors_chip_name& chip);

    std::timed_mutex m_mutex;
    QByteArray m_listed; ///< the devices that were present when the library was opened
    bool m_isOpen = false;
    std::vector<SensorChip> m_chips;
};

} // namespace kestrum
