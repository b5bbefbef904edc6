// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Vocabulary/Enumeration.h"

namespace kestrum {

/// The form of the CPU item's meter.
enum class MeterStyle { bars, wave, compact };
/// The outline of the meters of all items.
enum class MeterShape { pill, square };
enum class MeterLabelStyle { icons, letters };
/// The values that the items can show as text. `off` is displayed as "None".
enum class CPUReadout { off, usage, temperature, power };
enum class MemoryReadout { off, usage, pressure, swap };
enum class StorageReadout { off, usage, free };
enum class SensorsReadout { off, power, hottest, gpu, fan };
/// The colour scheme and the background of popovers.
enum class PopoverAppearance { light, dark, system };
enum class PopoverBackground { translucent, opaque };

template <> struct Enumeration<MeterStyle> {
    static constexpr EnumerationCase<MeterStyle> cases[] = {
        { MeterStyle::bars, "bars", "Bars" },
        { MeterStyle::wave, "wave", "Wave" },
        { MeterStyle::compact, "compact", "Compact" },
    };
};

template <> struct Enumeration<MeterShape> {
    static constexpr EnumerationCase<MeterShape> cases[] = {
        { MeterShape::pill, "pill", "Pill" },
        { MeterShape::square, "square", "Square" },
    };
};

template <> struct Enumeration<MeterLabelStyle> {
    static constexpr EnumerationCase<MeterLabelStyle> cases[] = {
        { MeterLabelStyle::icons, "icons", "Icons" },
        { MeterLabelStyle::letters, "letters", "Letters" },
    };
};

template <> struct Enumeration<CPUReadout> {
    static constexpr EnumerationCase<CPUReadout> cases[] = {
        { CPUReadout::off, "off", "None" },
        { CPUReadout::usage, "usage", "Usage" },
        { CPUReadout::temperature, "temperature", "Temperature" },
        { CPUReadout::power, "power", "Power" },
    };
};

template <> struct Enumeration<MemoryReadout> {
    static constexpr EnumerationCase<MemoryReadout> cases[] = {
        { MemoryReadout::off, "off", "None" },
        { MemoryReadout::usage, "usage", "Usage" },
        { MemoryReadout::pressure, "pressure", "Pressure" },
        { MemoryReadout::swap, "swap", "Swap" },
    };
};

template <> struct Enumeration<StorageReadout> {
    static constexpr EnumerationCase<StorageReadout> cases[] = {
        { StorageReadout::off, "off", "None" },
        { StorageReadout::usage, "usage", "Usage" },
        { StorageReadout::free, "free", "Free" },
    };
};

template <> struct Enumeration<SensorsReadout> {
    static constexpr EnumerationCase<SensorsReadout> cases[] = {
        { SensorsReadout::off, "off", "None" },
        { SensorsReadout::power, "power", "Power" },
        { SensorsReadout::hottest, "hottest", "Hottest" },
        { SensorsReadout::gpu, "gpu", "GPU" },
        { SensorsReadout::fan, "fan", "Fan" },
    };
};

template <> struct Enumeration<PopoverAppearance> {
    static constexpr EnumerationCase<PopoverAppearance> cases[] = {
        { PopoverAppearance::light, "light", "Light" },
        { PopoverAppearance::dark, "dark", "Dark" },
        { PopoverAppearance::system, "system", "System" },
    };
};

template <> struct Enumeration<PopoverBackground> {
    static constexpr EnumerationCase<PopoverBackground> cases[] = {
        { PopoverBackground::translucent, "translucent", "Translucent" },
        { PopoverBackground::opaque, "opaque", "Opaque" },
    };
};

} // namespace kestrum
