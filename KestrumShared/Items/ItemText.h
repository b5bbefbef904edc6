// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/Appearance.h"
#include "KestrumShared/Items/MenuBarReadings.h"

#include <QString>

namespace kestrum {

/// What an item says in words, in the interface language: its name, what is measured, and the value, as in "Memory — Usage: 64%".
/// Where the reading is absent it says that there is no sensor. An item without a readout says what its meter shows, and only its
/// name where it has no meter.
QString itemText(MonitorSection section, const MenuBarReadings& readings,
    const Appearance& appearance = Appearance::current());

} // namespace kestrum
