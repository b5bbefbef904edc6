// SPDX-License-Identifier: MIT
#include "Platform/Machine/SensorKinds.h"

namespace kestrum {
namespace {

using DeviceKind = SensorDevice::Kind;

struct DriverKind {
    std::string_view driver;
    DeviceKind kind;
};

constexpr DriverKind wholeNames[] {
    { "coretemp", DeviceKind::cpu },
    { "k10temp", DeviceKind::cpu },
    { "k8temp", DeviceKind::cpu },
    { "via_cputemp", DeviceKind::cpu },
    { "zenpower", DeviceKind::cpu },
    { "amdgpu", DeviceKind::gpu },
    { "i915", DeviceKind::gpu },
    { "nouveau", DeviceKind::gpu },
    { "nvidia", DeviceKind::gpu },
    { "radeon", DeviceKind::gpu },
    { "xe", DeviceKind::gpu },
    { "nvme", DeviceKind::disk },
    { "drivetemp", DeviceKind::disk },
    { "jc42", DeviceKind::memory },
    { "spd5118", DeviceKind::memory },
};

// After these stand models, interfaces and numbers, as in "nct6798", "iwlwifi_1" and "BAT0".
constexpr DriverKind nameBeginnings[] {
    { "acpitz", DeviceKind::mainboard },
    { "asus", DeviceKind::mainboard },
    { "it8", DeviceKind::mainboard },
    { "nct", DeviceKind::mainboard },
    { "pch_", DeviceKind::chipset },
    { "ath", DeviceKind::wiFi },
    { "iwlwifi", DeviceKind::wiFi },
    { "mt7", DeviceKind::wiFi },
    { "igc", DeviceKind::network },
    { "r8169", DeviceKind::network },
    { "BAT", DeviceKind::battery },
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
            return DeviceKind::cpu;
        if (driver.starts_with("gpu"))
            return DeviceKind::gpu;
    }
    for (const DriverKind& row : nameBeginnings) {
        if (driver.starts_with(row.driver))
            return row.kind;
    }
    return DeviceKind::other;
}

SensorChip::Rank SensorKinds::cpuRank(std::string_view driver, std::string_view own, std::string_view label)
{
    if (driver == "coretemp")
        return own.starts_with("Package") ? 1 : 2;
    // The control value "Tctl" can be 27 degrees above "Tdie", the temperature of the die, so "Tdie" is preferred. If the
    // kernel reports no "Tdie", it knows of no such offset for this CPU, and "Tctl" is used.
    if (driver == "k10temp" || driver == "zenpower")
        return own == "Tdie" ? 1 : own == "Tctl" || own.starts_with("temp") ? 2 : SensorChip::worstRank;
    if (kindOf(driver) == DeviceKind::cpu)
        return 1;
    // Mainboards and laptops use the label "CPU". "CPUTIN" does not count: many boards leave that input unconnected.
    return label == "CPU" || label.starts_with("CPU ") ? SensorChip::worstRank : 0;
}

SensorChip::Rank SensorKinds::gpuRank(std::string_view driver, std::string_view own)
{
    if (kindOf(driver) != DeviceKind::gpu)
        return 0;
    return own == "edge" || own == "pkg" || own == "temp1" ? 1 : 2;
}

SensorChip::Rank SensorKinds::ownRank(std::string_view driver, std::string_view own)
{
    switch (kindOf(driver)) {
    case DeviceKind::cpu:
        return cpuRank(driver, own, own);
    case DeviceKind::gpu:
        return gpuRank(driver, own);
    case DeviceKind::disk:
        // Disks compute this value for their hosts. Their other sensors measure spots.
        return own == "Composite" ? 1 : 2;
    default:
        return 1;
    }
}

} // namespace kestrum
