// SPDX-License-Identifier: MIT
#include "Platform/Machine/PowerSupplies.h"

#include <QDir>
#include <cmath>

namespace kestrum {
namespace {

// No power adapter delivers more. A larger value is an error of the firmware.
constexpr double largestSupplyWatts = 10000;

} // namespace

PowerSupply::PowerSupply(bool battery, const std::function<KernelFile(const char* name)>& file)
    : isBattery(battery)
    , state(file(battery ? "status" : "online"))
    , power(file("power_now"))
    , current(file("current_now"))
    , voltage(file("voltage_now"))
    , energyNow(file("energy_now"))
    , energyFull(file("energy_full"))
    , chargeNow(file("charge_now"))
    , chargeFull(file("charge_full"))
    , capacity(file("capacity"))
{
}

// The power in watts; nothing if the supply reports none. The kernel's values are in µW, µA and µV. Some drivers report
// the output of a battery with a negative sign.
std::optional<double> PowerSupply::watts()
{
    std::optional<double> result;
    if (const auto microwatts = power.readNumber()) {
        result = std::abs(double(*microwatts)) / 1e6;
    } else if (const auto microamperes = current.readNumber()) {
        if (const auto microvolts = voltage.readNumber())
            result = std::abs(double(*microamperes) / 1e6 * (double(*microvolts) / 1e6));
    }
    return result && *result <= largestSupplyWatts ? result : std::nullopt;
}

PowerSupplies::PowerSupplies(const QString& root)
    : m_folder(root + QStringLiteral("/sys/class/power_supply/"))
{
}

// Builds the list again whenever the supplies change. The batteries of mice and headsets (scope "Device") do not supply
// the machine. USB supplies are left out, because they report the negotiated current and not the actual current.
std::vector<PowerSupply>& PowerSupplies::present()
{
    const QStringList names = QDir(m_folder).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    if (names == m_names)
        return m_supplies;
    m_names = names;
    m_supplies.clear();
    for (const QString& name : names) {
        const QString folder = m_folder + name + u'/';
        KernelFile type(folder + QStringLiteral("type"));
        const std::string_view kind = type.readWord();
        if ((kind == "Battery" || kind == "Mains")
            && KernelFile(folder + QStringLiteral("scope")).readWord() != "Device")
            m_supplies.emplace_back(kind == "Battery",
                [&folder](const char* file) { return KernelFile(folder + QLatin1StringView(file)); });
    }
    return m_supplies;
}

} // namespace kestrum
