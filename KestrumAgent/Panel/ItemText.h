#pragma once

#include "KestrumShared/Items/MenuBarReadings.h"
#include "KestrumShared/Vocabulary/MonitorSection.h"

#include <QString>

namespace kestrum {

/// What an item tells in words, in the interface language: its name, what is measured, and the value, "Memory — Usage: 64%";
/// that there is no sensor for it where the reading is absent. An item without a readout tells what its meter shows, and
/// only its name where it has none.
QString itemText(MonitorSection section, const MenuBarReadings& readings);

} // namespace kestrum
