// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PopoverReadings.h"
#include "KestrumShared/Vocabulary/MonitorSection.h"
#include "kestrumctl/CommandLine.h"

namespace kestrum {

/// The option "--root DIR": a popover's readings are of the machine whose "/proc", "/sys" and "/run" are below DIR.
namespace MachineReadings {

inline constexpr Option option { "--root", true };

/// What the open popover of `section` shows at its second tick, a second after the first. Takes two and a half seconds, in
/// which events are handled. `root` is the option's value; "/" is this machine. Fails if there is no machine.
Result<PopoverReadings> taken(MonitorSection section, const QString& root);

} // namespace MachineReadings
} // namespace kestrum
