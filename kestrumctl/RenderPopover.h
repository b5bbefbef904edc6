// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PopoverReadings.h"
#include "KestrumShared/Vocabulary/MonitorSection.h"
#include "Platform/Desktop/SystemAppearance.h"
#include "kestrumctl/CommandLine.h"

#include <QImage>
#include <QStringList>
#include <optional>

namespace kestrum {

/// Draws the popovers for the verb render, with the settings in effect.
namespace RenderPopover {

inline constexpr Option direction { "--direction", true };
inline constexpr Option poor { "--poor" };

/// The names of the popovers on the command line: "popover-cpu" and so on.
QStringList names();
/// The section whose popover is called `name`; nothing for another name.
std::optional<MonitorSection> section(const QString& name);

/// A section's popover with its shadow, on a transparent ground. A null image if it is too large.
/// Fails if an option's value is not understood.
Result<QImage> drawn(MonitorSection section, ColourScheme scheme, double scale, const CommandLine& line);

} // namespace RenderPopover
} // namespace kestrum
