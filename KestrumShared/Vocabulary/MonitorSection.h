// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Vocabulary/Enumeration.h"

namespace kestrum {

/// The four subjects of menu-bar items. The raw value is the section's key in stored orders.
enum class MonitorSection { cpu, memory, storage, sensors };

template <> struct Enumeration<MonitorSection> {
    static constexpr EnumerationCase<MonitorSection> cases[] = {
        { MonitorSection::cpu, "cpu", nullptr },
        { MonitorSection::memory, "memory", nullptr },
        { MonitorSection::storage, "storage", nullptr },
        { MonitorSection::sensors, "sensors", nullptr },
    };
};

} // namespace kestrum
