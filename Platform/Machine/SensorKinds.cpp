// SPDX-License-Identifier: MIT
#include "Platform/Machine/SensorKinds.h"

namespace kestrum {
namespace {

using Kind = SensorDevice::Kind;

struct DriverKind {
    std::string_view driver;
    Kind kind;
};

constexpr DriverKind wholeNames[] {
    { "coretemp", Kind::cpu },
    { "k10temp", Kind::cpu },
    { "k8temp", Kind::cpu },
    { "via_cputemp", Kind::cpu },
    { "zenpower", Kind::cpu },
    { "amdgpu", Kind::gpu },
    { "i915", Kind::gpu },
    { "nouveau", Kind::gpu },
    { "nvidia", Kind::gpu },
    { "radeon", Kind::gpu },
    { "xe", Kind::gpu },
    { "nvme", Kind::disk },
    { "drivetemp", Kind::disk },
    { "jc42", Kind::memory },
    { "spd5118", Kind::memory },
};

// After these stand models, interfaces and numbers, as in "nct6798", "iwlwifi_1" and "BAT0".
constexpr DriverKind nameBeginnings[] {
    { "acpitz", Kind::mainboard },
    { "asus", Kind::mainboard },
    { "it8", Kind::mainboard },
    { "nct", Kind::mainboard },
    { "pch_", Kind::chipset },
    { "ath", Kind::wiFi },
    { "iwlwifi", Kind::wiFi },
    { "mt7", Kind::wiFi },
    { "igc", Kind::network },
    { "r8169", Kind::network },
    { "BAT", Kind::battery },
};

} // namespace

SensorDevice::Kind SensorKinds::kindOf(std::string_view driver)
{
    for (const DriverKind& row : wholeNames) {
        if (driver == row.driver)
            return row.kind;
    }
    // Small boards measure at thermal zones of their own names, as "cpu_thermal" and "gpu0_thermal".
    if (driver.ends_with("thermal")) {
        if (driver.starts_with("cpu"))
            return Kind::cpu;
        if (driver.starts_with("gpu"))
            return Kind::gpu;
    }
    for (const DriverKind& row : nameBeginnings) {
        if (driver.starts_with(row.driver))
            return row.kind;
    }
    return Kind::other;
}

SensorChip::Rank SensorKinds::cpuRank(std::string_view driver, std::string_view own, std::string_view label)
{
    if (driver == "coretemp")
        return own.starts_with("Package") ? 1 : 2;
    // The control value "Tctl" can be 27 degrees above "Tdie", the temperature of the die, so "Tdie" is preferred. If the
    // kernel reports no "Tdie", it knows of no such offset for this CPU, and "Tctl" is used.
    if (driver == "k10temp" || driver == "zenpower")
        return own == "Tdie" ? 1 : own == "Tctl" || own.starts_with("temp") ? 2 : SensorChip::worstRank;
    if (kindOf(driver) == Kind::cpu)
        return 1;
    // Mainboards and laptops use the label "CPU". "CPUTIN" does not count: many boards leave that input unconnected.
    return label == "CPU" || label.starts_with("CPU ") ? SensorChip::worstRank : 0;
}

SensorChip::Rank SensorKinds::gpuRank(std::string_view driver, std::string_view own)
{
    if (kindOf(driver) != Kind::gpu)
        return 0;
    return own == "edge" || own == "pkg" || own == "temp1" ? 1 : 2;
}

SensorChip::Rank SensorKinds::ownRank(std::string_view driver, std::string_view own)
{
    switch (kindOf(driver)) {
    case Kind::cpu:
        return cpuRank(driver, own, own);
    case Kind::gpu:
        return gpuRank(driver, own);
    case Kind::disk:
        // Disks compute this value for their hosts. Their other sensors measure spots.
        return own == "Composite" ? 1 : 2;
    default:
        return 1;
    }
}

} // namespace kestrum
