// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelEnvironment.h"
#include "KestrumShared/Settings/MeterSettings.h"

namespace kestrum {

/// The colours of what memory is used for: all used memory has the memory's accent, memory that can be given back is grey.
namespace MemoryColours {

/// Memory of apps; the other parts of the used memory have this colour in weaker strengths.
inline QColor app(const SettingsSnapshot& settings, const PanelEnvironment& environment)
{
    return environment.readable(MeterSettings::accent(Keys::memoryAccent, settings).color());
}

inline QColor cache(ColourScheme scheme)
{
    return scheme == ColourScheme::dark ? QColor(0x6C, 0x6C, 0x74) : QColor(0x9C, 0x9C, 0xA2);
}

} // namespace MemoryColours
} // namespace kestrum
