// SPDX-License-Identifier: MIT
#include "Platform/Machine/SensorChips.h"

#include "Platform/Machine/KernelFile.h"
#include "Platform/Machine/SensorKinds.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <chrono>
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

constexpr const char* hwmonFolder = "/sys/class/hwmon";
constexpr std::chrono::seconds longestLockWait { 1 };

// No graphics card uses more power. A larger value is an error of the driver.
constexpr double largestDeviceWatts = 5000;

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

// Returns one line per "hwmonN" with this name and the target of the link, which is the device.
QByteArray listedChips()
{
    QByteArray result;
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir(hwmonFolder), ::closedir);
    while (const dirent* entry = folder ? ::readdir(folder.get()) : nullptr) {
        if (entry->d_name[0] == '.')
            continue;
        const QByteArray path = QByteArray(hwmonFolder) + '/' + entry->d_name;
        char target[PATH_MAX];
        const ssize_t size = ::readlink(path.constData(), target, sizeof target);
        result.append(entry->d_name).append('>').append(target, std::max<ssize_t>(size, 0)).append('\n');
    }
    return result;
}

std::optional<double> valueOf(const sensors_chip_name* chip, int number)
{
    double result = 0;
    if (number < 0 || ::sensors_get_value(chip, number, &result) != 0 || !std::isfinite(result))
        return std::nullopt;
    return result;
}

bool isFaulty(const SensorChip& chip, const SensorChip::Input& input)
{
    return chip.value(input.fault).value_or(0) != 0;
}

QString chipName(const sensors_chip_name& chip)
{
    char name[256];
    const bool isNamed = ::sensors_snprintf_chip_name(name, sizeof name, &chip) > 0;
    return QString::fromUtf8(isNamed ? name : chip.prefix ? chip.prefix : "");
}

// The controller of a disk names its model. With some drivers the device is not the controller but stands above it.
QString diskModel(const QString& device)
{
    QStringList files { device + QStringLiteral("/model") };
    const QString controllers = device + QStringLiteral("/nvme");
    for (const QString& name : QDir(controllers).entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        files.append(controllers + u'/' + name + QStringLiteral("/model"));
    for (const QString& path : files) {
        KernelFile file(path);
        if (const std::string_view model = file.readWord(); !model.empty())
            return QString::fromUtf8(model.data(), qsizetype(model.size())).simplified();
    }
    return {};
}

} // namespace

SensorChips& SensorChips::ofThisMachine()
{
    static SensorChips* const chips = new SensorChips;
    return *chips;
}

SensorChips::Lock SensorChips::lock()
{
    return Lock(m_mutex, longestLockWait);
}

const std::vector<SensorChip>& SensorChips::present()
{
    QByteArray listed = listedChips();
    if (m_isOpen && listed == m_listed)
        return m_chips;
    m_chips.clear();
    if (m_isOpen)
        ::sensors_cleanup();
    m_listed = std::move(listed);
    m_isOpen = true;
    // The null argument makes the library use the system's configuration, if there is one.
    if (::sensors_init(nullptr) != 0)
        return m_chips;
    int next = 0;
    while (const sensors_chip_name* chip = ::sensors_get_detected_chips(nullptr, &next))
        adopt(*chip);
    std::sort(m_chips.begin(), m_chips.end(),
        [](const SensorChip& one, const SensorChip& other) { return one.place < other.place; });
    // The library gives devices without a bus the same name if their drivers do.
    for (std::size_t index = m_chips.size(); index-- > 1;) {
        SensorChip::Place& place = m_chips[index].place;
        if (place.id == m_chips[index - 1].place.id)
            place.id += u' ' + place.folder;
    }
    return m_chips;
}

void SensorChips::adopt(const sensors_chip_name& name)
{
    const QString path = QFile::decodeName(name.path ? name.path : "");
    const std::string_view driver = name.prefix ? name.prefix : "";
    // With old drivers, the library's path is already the path of the device.
    const QString device = path.endsWith(QStringLiteral("/device")) ? path : path + QStringLiteral("/device");
    const QString folder = QFileInfo(device).canonicalFilePath();
    SensorChip chip {
        .value = [&name](int number) { return valueOf(&name, number); },
        .place = { SensorKinds::kindOf(driver), name.bus.type, name.bus.nr, name.addr, chipName(name),
            folder.isEmpty() ? path : folder },
        .driver = QString::fromUtf8(driver.data(), qsizetype(driver.size())),
        .model = driver == "nvme" ? diskModel(device) : QString(),
        // Reading the temperature of a disk prevents the disk from spinning down.
        .isQuiet = driver == "drivetemp",
        .power = -1,
        .temperatures = {},
        .fans = {},
    };
    int next = 0;
    while (const sensors_feature* feature = ::sensors_get_features(&name, &next)) {
        const auto number = [&](sensors_subfeature_type type) {
            const sensors_subfeature* found = ::sensors_get_subfeature(&name, feature, type);
            return found && (found->flags & SENSORS_MODE_R) ? found->number : -1;
        };
        if (feature->type == SENSORS_FEATURE_POWER && chip.power < 0) {
            const int mean = number(SENSORS_SUBFEATURE_POWER_AVERAGE);
            chip.power = mean >= 0 ? mean : number(SENSORS_SUBFEATURE_POWER_INPUT);
        }
        if (feature->type != SENSORS_FEATURE_TEMP && feature->type != SENSORS_FEATURE_FAN)
            continue;
        const bool isFan = feature->type == SENSORS_FEATURE_FAN;
        const int input = number(isFan ? SENSORS_SUBFEATURE_FAN_INPUT : SENSORS_SUBFEATURE_TEMP_INPUT);
        if (input < 0)
            continue;
        const std::unique_ptr<char, void (*)(void*)> text(::sensors_get_label(&name, feature), std::free);
        const std::string_view label = text ? text.get() : feature->name;
        KernelFile labelFile(path + u'/' + QLatin1StringView(feature->name) + QStringLiteral("_label"));
        const std::string_view given = labelFile.readWord();
        SensorChip::Input& added = (isFan ? chip.fans : chip.temperatures)
                                       .emplace_back(SensorChip::input(driver, feature->name, given, label));
        added.value = input;
        added.fault = number(isFan ? SENSORS_SUBFEATURE_FAN_FAULT : SENSORS_SUBFEATURE_TEMP_FAULT);
    }
    m_chips.push_back(std::move(chip));
}

SensorChip::Input SensorChip::input(
    std::string_view driver, const char* name, std::string_view given, std::string_view label)
{
    // The kernel's label says what a driver measures, whatever people call it.
    const std::string_view own = given.empty() ? name : given;
    Input input;
    input.name = QString::fromUtf8(name);
    input.label = QString::fromUtf8(label.data(), qsizetype(label.size()));
    input.isNamedByUser = label != own;
    input.cpu = SensorKinds::cpuRank(driver, own, label);
    input.gpu = SensorKinds::gpuRank(driver, own);
    input.own = SensorKinds::ownRank(driver, own);
    return input;
}

// Whether the device is suspended. Reading a suspended graphics card would wake the card and its fan; waking takes half
// a second and several watts.
bool SensorChip::isAsleep() const
{
    if (place.bus != SENSORS_BUS_TYPE_PCI)
        return false;
    KernelFile state(place.folder + QStringLiteral("/power/runtime_status"));
    const std::string_view text = state.readWord();
    return text == "suspended" || text == "suspending";
}

std::optional<double> SensorChip::celsius(const Input& temperature) const
{
    if (isFaulty(*this, temperature))
        return std::nullopt;
    const auto celsius = value(temperature.value);
    return celsius && isPlausibleTemperature(*celsius) ? celsius : std::nullopt;
}

std::optional<double> SensorChip::rpm(const Input& fan) const
{
    if (isFaulty(*this, fan))
        return std::nullopt;
    const auto rpm = value(fan.value);
    return rpm && isPlausibleSpeed(*rpm) ? rpm : std::nullopt;
}

// A device that is awake uses some power, so 0 means that the driver does not know the power.
std::optional<double> SensorChip::watts() const
{
    const auto watts = value(power);
    return watts && *watts > 0 && *watts <= largestDeviceWatts ? watts : std::nullopt;
}

} // namespace kestrum
