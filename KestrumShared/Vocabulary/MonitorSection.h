// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Vocabulary/Enumeration.h"

namespace kestrum {

/// The four sections, each with a menu-bar item of its own. The raw value is the section's name in stored orders.
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
