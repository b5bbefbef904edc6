// SPDX-License-Identifier: MIT
#include "Platform/Machine/Sensors.h"

#include "Platform/Machine/KernelFile.h"

#include <QFile>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <dirent.h>
#include <limits.h>
#include <memory>
#include <sensors/sensors.h>
#include <unistd.h>

// A sensor is identified by its chip and label, because the numbers N of the kernel's "hwmonN" change with each boot and
// whenever a driver is loaded or unloaded. libsensors finds chips only when it is initialized. So it is initialized again
// when the list of "hwmonN" or one of their devices has changed.

namespace kestrum {
namespace {

constexpr int worstRank = 3;
constexpr const char* deviceFolder = "/sys/class/hwmon";

// Unconnected inputs report -128, 127 or more extreme values.
bool isPlausibleTemperature(double celsius)
{
    return celsius > -60 && celsius < 126;
}

// A fan that is starting can report 65535.
bool isPlausibleSpeed(double rpm)
{
    return rpm >= 0 && rpm < 30000;
}

int cpuRank(std::string_view chip, std::string_view label)
{
    if (chip == "coretemp")
        return label.starts_with("Package") ? 1 : 2;
    // The control value "Tctl" can be 27 degrees above "Tdie", the temperature of the die, so "Tdie" is preferred. If the
    // kernel reports no "Tdie", it knows of no such offset for this CPU, and "Tctl" is used.
    if (chip == "k10temp" || chip == "zenpower")
        return label == "Tdie" ? 1 : label == "Tctl" || label.starts_with("temp") ? 2 : worstRank;
    if (chip == "k8temp" || chip == "via_cputemp" || (chip.starts_with("cpu") && chip.ends_with("thermal")))
        return 1;
    // Mainboards and laptops use the label "CPU". "CPUTIN" does not count: many boards leave that input unconnected.
    return label == "CPU" || label.starts_with("CPU ") ? worstRank : 0;
}

int gpuRank(std::string_view chip, std::string_view label)
{
    const bool isGpu = chip == "amdgpu" || chip == "radeon" || chip == "nouveau" || chip == "i915"
        || chip == "xe" || (chip.starts_with("gpu") && chip.ends_with("thermal"));
    if (!isGpu)
        return 0;
    return label == "edge" || label == "pkg" || label == "temp1" ? 1 : 2;
}

// Returns one line per "hwmonN" with this name and the target of the link, which is the device.
QByteArray presentChips()
{
    QByteArray result;
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir(deviceFolder), ::closedir);
    while (const dirent* entry = folder ? ::readdir(folder.get()) : nullptr) {
        if (entry->d_name[0] == '.')
            continue;
        const QByteArray path = QByteArray(deviceFolder) + '/' + entry->d_name;
        char target[PATH_MAX];
        const ssize_t size = ::readlink(path.constData(), target, sizeof target);
        result.append(entry->d_name).append('>').append(target, std::max<ssize_t>(size, 0)).append('\n');
    }
    return result;
}

std::optional<double> value(const sensors_chip_name* chip, int number)
{
    double result = 0;
    if (number < 0 || ::sensors_get_value(chip, number, &result) != 0 || !std::isfinite(result))
        return std::nullopt;
    return result;
}

void raise(std::optional<double>& highest, std::optional<double> candidate)
{
    if (candidate && (!highest || *candidate > *highest))
        highest = candidate;
}

} // namespace

Sensors& Sensors::ofThisMachine()
{
    static Sensors* const sensors = new Sensors;
    return *sensors;
}

Sensors::Values Sensors::read(const Wanted& wanted)
{
    Values values;
    if (!wanted.any())
        return values;
    const std::unique_lock lock(m_mutex, std::try_to_lock);
    if (!lock)
        return values;
    adoptChips();
    if (wanted.hottest) {
        for (const Input& input : m_temperatures) {
            if (!input.isQuiet)
                raise(values.hottest, temperature(input));
        }
    }
    if (wanted.cpu)
        values.cpu = best(&Input::cpu);
    if (wanted.gpu)
        values.gpu = best(&Input::gpu);
    if (wanted.fan) {
        for (const Input& input : m_fans) {
            if (isAsleep(*input.chip) || value(input.chip, input.fault).value_or(0) != 0)
                continue;
            const auto rpm = value(input.chip, input.value);
            if (rpm && isPlausibleSpeed(*rpm))
                raise(values.fan, rpm);
        }
    }
    return values;
}

void Sensors::adoptChips()
{
    QByteArray chips = presentChips();
    if (m_isOpen && chips == m_chips)
        return;
    m_temperatures.clear();
    m_fans.clear();
    if (m_isOpen)
        ::sensors_cleanup();
    m_chips = std::move(chips);
    m_isOpen = true;
    // The null argument makes the library use the system's configuration, if there is one.
    if (::sensors_init(nullptr) != 0)
        return;
    int place = 0;
    while (const sensors_chip_name* chip = ::sensors_get_detected_chips(nullptr, &place))
        adopt(*chip);
}

void Sensors::adopt(const sensors_chip_name& chip)
{
    const auto number = [&chip](const sensors_feature* feature, sensors_subfeature_type type) {
        const sensors_subfeature* found = ::sensors_get_subfeature(&chip, feature, type);
        return found && (found->flags & SENSORS_MODE_R) ? found->number : -1;
    };
    const std::string_view name = chip.prefix ? chip.prefix : "";
    int place = 0;
    while (const sensors_feature* feature = ::sensors_get_features(&chip, &place)) {
        if (feature->type != SENSORS_FEATURE_TEMP && feature->type != SENSORS_FEATURE_FAN)
            continue;
        const bool isFan = feature->type == SENSORS_FEATURE_FAN;
        Input input { &chip,
            number(feature, isFan ? SENSORS_SUBFEATURE_FAN_INPUT : SENSORS_SUBFEATURE_TEMP_INPUT),
            number(feature, isFan ? SENSORS_SUBFEATURE_FAN_FAULT : SENSORS_SUBFEATURE_TEMP_FAULT), 0, 0,
            false };
        if (input.value < 0)
            continue;
        if (!isFan) {
            const std::unique_ptr<char, void (*)(void*)> text(::sensors_get_label(&chip, feature), std::free);
            const std::string_view label = text ? text.get() : "";
            input.cpu = cpuRank(name, label);
            input.gpu = gpuRank(name, label);
            // Reading the temperature of a disk prevents the disk from spinning down.
            input.isQuiet = name == "drivetemp";
        }
        (isFan ? m_fans : m_temperatures).push_back(input);
    }
}

std::optional<double> Sensors::temperature(const Input& input)
{
    if (isAsleep(*input.chip) || value(input.chip, input.fault).value_or(0) != 0)
        return std::nullopt;
    const auto celsius = value(input.chip, input.value);
    return celsius && isPlausibleTemperature(*celsius) ? celsius : std::nullopt;
}

// The highest temperature of the sensors with the best rank, in °C. Sensors of the next rank are read only if no sensor
// of the better ranks can be read.
std::optional<double> Sensors::best(Rank Input::*rank)
{
    std::optional<double> highest;
    for (Rank wanted = 1; wanted <= worstRank && !highest; ++wanted) {
        for (const Input& input : m_temperatures) {
            if (input.*rank == wanted)
                raise(highest, temperature(input));
        }
    }
    return highest;
}

// Whether the device is suspended. Reading a suspended graphics card would wake the card and its fan; waking takes half
// a second and several watts.
bool Sensors::isAsleep(const sensors_chip_name& chip)
{
    if (chip.bus.type != SENSORS_BUS_TYPE_PCI || !chip.path)
        return false;
    // With old drivers, the library's path is already the path of the device.
    QString path = QFile::decodeName(chip.path);
    if (!path.endsWith(QStringLiteral("/device")))
        path += QStringLiteral("/device");
    KernelFile state(path + QStringLiteral("/power/runtime_status"));
    const std::string_view text = state.readWord();
    return text == "suspended" || text == "suspending";
}

} // namespace kestrum
