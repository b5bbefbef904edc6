// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/SensorChips.h"

#include <string_view>

/// What the names of drivers and of their sensors tell.
namespace kestrum::SensorKinds {

/// What a driver's devices are; `other` for an unknown driver.
SensorDevice::Kind kindOf(std::string_view driver);

/// How well a sensor represents the CPU. `own` is the kernel's label, `label` that of libsensors' configuration.
SensorChip::Rank cpuRank(std::string_view driver, std::string_view own, std::string_view label);

/// How well a sensor represents a GPU. `own` is the kernel's label.
SensorChip::Rank gpuRank(std::string_view driver, std::string_view own);

/// How well a sensor represents its own device; never 0. `own` is the kernel's label.
SensorChip::Rank ownRank(std::string_view driver, std::string_view own);

} // namespace kestrum::SensorKinds
