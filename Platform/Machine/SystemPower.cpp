// SPDX-License-Identifier: MIT
#include "Platform/Machine/SystemPower.h"

#include <QDir>
#include <cmath>

namespace kestrum {
namespace {

// No power adapter delivers more. A larger value is an error of the firmware.
constexpr double largestSystemWatts = 10000;

} // namespace

SystemPower::SystemPower(const QString& root)
    : m_folder(root + QStringLiteral("/sys/class/power_supply/"))
{
}

std::optional<double> SystemPower::read()
{
    findSupplies();
    double drawn = 0;
    double delivered = 0;
    double charged = 0;
    bool isMeasured = true;
    bool isDischarging = false;
    for (Supply& supply : m_supplies) {
        const std::string_view state = supply.state.readWord();
        if (!supply.isBattery) {
            if (state == "1")
                delivered += supply.watts().value_or(0);
        } else if (state == "Discharging") {
            isDischarging = true;
            const auto watts = supply.watts();
            isMeasured = isMeasured && watts;
            drawn += watts.value_or(0);
        } else if (state == "Charging") {
            charged += supply.watts().value_or(0);
        }
    }
    const double watts = isDischarging ? drawn : delivered - charged;
    // A running machine uses some power, so 0 means that the firmware does not know the power.
    if ((isDischarging && !isMeasured) || watts <= 0)
        return std::nullopt;
    return watts;
}

SystemPower::Supply::Supply(const QString& folder, bool battery)
    : isBattery(battery)
    , state(folder + (battery ? QStringLiteral("status") : QStringLiteral("online")))
    , power(folder + QStringLiteral("power_now"))
    , current(folder + QStringLiteral("current_now"))
    , voltage(folder + QStringLiteral("voltage_now"))
{
}

// The power in watts; nothing if the supply reports none. The kernel's values are in µW, µA and µV. Some drivers report
// the output of a battery with a negative sign.
std::optional<double> SystemPower::Supply::watts()
{
    std::optional<double> result;
    if (const auto microwatts = power.readNumber()) {
        result = std::abs(double(*microwatts)) / 1e6;
    } else if (const auto microamperes = current.readNumber()) {
        if (const auto microvolts = voltage.readNumber())
            result = std::abs(double(*microamperes) / 1e6 * (double(*microvolts) / 1e6));
    }
    return result && *result <= largestSystemWatts ? result : std::nullopt;
}

// Builds the list again whenever the supplies change. The batteries of mice and headsets (scope "Device") do not supply
// the machine. USB supplies are left out, because they report the negotiated current and not the actual current.
void SystemPower::findSupplies()
{
    const QStringList names = QDir(m_folder).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    if (names == m_names)
        return;
    m_names = names;
    m_supplies.clear();
    for (const QString& name : names) {
        const QString folder = m_folder + name + u'/';
        KernelFile type(folder + QStringLiteral("type"));
        const std::string_view kind = type.readWord();
        if ((kind == "Battery" || kind == "Mains")
            && KernelFile(folder + QStringLiteral("scope")).readWord() != "Device")
            m_supplies.emplace_back(folder, kind == "Battery");
    }
}

} // namespace kestrum
