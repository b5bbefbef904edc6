// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class QAccessibleInterface;

namespace kestrum {

/// The window's accessibility tree as a text.
namespace AccessibilityDump {

/// A line for `from` and each visible interface below it, indented by depth: role, name, value or description, and states. Those
/// that have no name and cannot get the focus are left out, but not their children. The tree is that of this process; how it is
/// seen through the accessibility bus is not shown here.
QString text(QAccessibleInterface& from);

} // namespace AccessibilityDump
} // namespace kestrum
