// SPDX-License-Identifier: MIT
#include "Platform/Machine/Battery.h"

#include <algorithm>
#include <cmath>

namespace kestrum {
namespace {

using Status = BatteryState::Status;
using namespace std::chrono_literals;

constexpr auto powerSpan = 60s;
constexpr auto shortestPowerSpan = 10s;
constexpr double longestHours = 99;
// No battery that people can lift holds more. A larger value is an error of the firmware.
constexpr double largestWattHours = 100'000;

struct Content {
    double share; ///< 0…1
    /// In Wh; both are absent if the battery reports neither energy nor charge and voltage.
    std::optional<double> now, full;
};

// The kernel's values are in millionths. Batteries report energy or charge; some report a percentage only.
std::optional<Content> contentOf(PowerSupply& battery)
{
    auto now = battery.energyNow.readNumber();
    auto full = battery.energyFull.readNumber();
    std::optional<double> volts = 1;
    if (!now || !full || *full <= 0) {
        now = battery.chargeNow.readNumber();
        full = battery.chargeFull.readNumber();
        const auto microvolts = battery.voltage.readNumber();
        volts = microvolts && *microvolts > 0 ? std::optional(double(*microvolts) / 1e6) : std::nullopt;
    }
    if (now && full && *now >= 0 && *full > 0) {
        // An old estimate of the full battery can be too low.
        const double share = std::min(double(*now) / double(*full), 1.0);
        const double wattHours = double(*full) / 1e6 * volts.value_or(0);
        if (wattHours > 0 && wattHours <= largestWattHours)
            return Content { share, share * wattHours, wattHours };
        return Content { share, {}, {} };
    }
    const auto percent = battery.capacity.readNumber();
    if (!percent || *percent < 0 || *percent > 100)
        return std::nullopt;
    return Content { double(*percent) / 100, {}, {} };
}

} // namespace

Battery::Battery(const QString& root)
    : m_supplies(root)
{
}

std::optional<BatteryState> Battery::read(std::chrono::nanoseconds now)
{
    return read(m_supplies.present(), now);
}

std::optional<BatteryState> Battery::read(std::vector<PowerSupply>& supplies, std::chrono::nanoseconds now)
{
    int count = 0;
    int fullCount = 0;
    bool isDischarging = false;
    bool isCharging = false;
    double shares = 0;
    std::optional<double> held = 0, room = 0;     // Wh
    std::optional<double> drawn = 0, charged = 0; // W
    const auto add = [](std::optional<double>& sum, const std::optional<double>& value) {
        sum = sum && value ? std::optional(*sum + *value) : std::nullopt;
    };
    for (PowerSupply& supply : supplies) {
        const auto content = supply.isBattery ? contentOf(supply) : std::nullopt;
        if (!content)
            continue;
        ++count;
        shares += content->share;
        add(held, content->now);
        add(room, content->full);
        const std::string_view state = supply.state.readWord();
        if (state == "Discharging") {
            isDischarging = true;
            add(drawn, supply.watts());
        } else if (state == "Charging") {
            isCharging = true;
            add(charged, supply.watts());
        } else if (state == "Full") {
            ++fullCount;
        }
    }
    if (count == 0) {
        m_samples.clear();
        return std::nullopt;
    }
    BatteryState state;
    // Batteries of different sizes count by their sizes, where these are known.
    state.charge = held && room ? *held / *room : shares / count;
    // A full or idle battery waits for its turn while another one works.
    state.status = isDischarging ? Status::discharging
        : isCharging             ? Status::charging
        : fullCount == count     ? Status::full
                                 : Status::notCharging;
    if (state.status != m_status)
        m_samples.clear();
    m_status = state.status;
    const auto watts = meanWatts(isDischarging ? drawn : isCharging ? charged : std::nullopt, now);
    if (watts && held && room) {
        const double hours = (isDischarging ? *held : *room - *held) / *watts;
        const long minutes = hours <= longestHours ? std::lround(hours * 60) : 0;
        if (minutes > 0)
            state.minutes = int(minutes);
    }
    return state;
}

// The load changes from second to second; a time that followed it would be of no use.
std::optional<double> Battery::meanWatts(std::optional<double> watts, std::chrono::nanoseconds now)
{
    // A power of 0 means that the firmware does not know the power.
    if (watts && *watts > 0)
        m_samples.push_back({ now, *watts });
    while (!m_samples.empty() && now - m_samples.front().time > powerSpan)
        m_samples.pop_front();
    if (m_samples.empty() || m_samples.back().time - m_samples.front().time < shortestPowerSpan)
        return std::nullopt;
    double sum = 0;
    for (const Sample& sample : m_samples)
        sum += sample.watts;
    return sum / double(m_samples.size());
}

} // namespace kestrum
