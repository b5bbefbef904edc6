// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Vocabulary/Enumeration.h"

namespace kestrum {

/// The four sections. Each section has its own menu-bar item.
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
