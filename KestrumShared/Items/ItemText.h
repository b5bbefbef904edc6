// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/Appearance.h"
#include "KestrumShared/Items/MenuBarReadings.h"

#include <QString>

namespace kestrum {

/// An item as text in the interface language: its name, the title of the readout, and the value, as in "Memory — Usage:
/// 64%". If the reading is absent, the text says that there is no sensor. For an item without a readout, the text describes
/// the meter; it is only the name if there is no meter either.
QString itemText(MonitorSection section, const MenuBarReadings& readings,
    const Appearance& appearance = Appearance::current());

} // namespace kestrum
